#pragma once

#include <cstddef>
#include <expected>
#include <string>
#include <string_view>

namespace korvan::lab {

// Messages as a browser and its native-messaging host exchange them: the size in four bytes, in the
// machine's own byte order, then that many bytes of JSON.
// https://developer.chrome.com/docs/extensions/develop/concepts/native-messaging#native-messaging-host-protocol

/// The largest message that is read from the browser.
inline constexpr std::size_t MostFromBrowser = std::size_t{64} << 20U;

/// The largest message that the browser reads.
inline constexpr std::size_t MostToBrowser = std::size_t{1} << 20U;

/// Reads one message, and nothing after it. On failure a sentence says what is wrong with the
/// frame, or why it cannot be read.
[[nodiscard]] std::expected<std::string, std::string> readNativeMessage(int descriptor);

/// Writes one message. Throws std::length_error when it is larger than MostToBrowser, and
/// std::system_error when it cannot be written.
void writeNativeMessage(int descriptor, std::string_view json);

}  // namespace korvan::lab
