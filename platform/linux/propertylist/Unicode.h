#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

// Unicode's encoding forms (the Unicode Standard, chapter 3.9), strictly: no surrogate in UTF-8, no
// overlong form, no half of a surrogate pair in UTF-16.

namespace korvan {

[[nodiscard]] bool isAscii(std::string_view text) noexcept;

/// Takes the first code point off `utf8`, which is not empty. None, and nothing is taken off, when
/// it is malformed.
std::optional<char32_t> takeUtf8(std::string_view& utf8) noexcept;

void appendUtf8(std::string& utf8, char32_t codePoint);

/// The code point of a surrogate pair. None when the two are not one.
[[nodiscard]] std::optional<char32_t> codePointOfPair(char32_t high, char32_t low) noexcept;

/// UTF-16 as UTF-8.
struct ConvertedUtf16 {
  std::string utf8;
  /// Bytes of UTF-16 that were converted: all of them, unless malformed ones follow.
  std::size_t size = 0;
};
[[nodiscard]] ConvertedUtf16 utf8OfUtf16(std::span<const std::uint8_t> utf16, std::endian order);

/// The text in UTF-16, big-endian, without a byte-order mark. None when it is not UTF-8.
[[nodiscard]] std::optional<std::string> utf16OfUtf8(std::string_view utf8);

}  // namespace korvan
