#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace korvan {

// A frame carries one message on the socket, alike in both directions: four bytes with the number
// of body bytes that follow, most significant first, then the body.

/// The most bytes that a frame's body may have: 4 MiB. It may not be empty either.
inline constexpr std::size_t MaxProviderMessageSize = 4'194'304;

using ProviderFramePrefix = std::array<std::uint8_t, 4>;

[[nodiscard]] constexpr bool isValidProviderMessageSize(std::size_t size) noexcept {
  return size >= 1 && size <= MaxProviderMessageSize;
}

/// The prefix that announces a body of `bodySize` bytes, a valid size.
[[nodiscard]] ProviderFramePrefix encodeProviderFramePrefix(std::size_t bodySize) noexcept;

/// The body size that a prefix announces, valid or not.
[[nodiscard]] std::uint32_t decodeProviderFramePrefix(const ProviderFramePrefix& prefix) noexcept;

}  // namespace korvan
