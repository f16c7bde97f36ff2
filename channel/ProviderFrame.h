#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace korvan {

// A frame carries one message on the socket, in either direction: four bytes with the size of the
// body, big-endian, then the body.

/// The greatest size of a frame's body: 4 MiB. A body must not be empty either.
inline constexpr std::size_t MaxProviderMessageSize = 4'194'304;

using ProviderFramePrefix = std::array<std::uint8_t, 4>;

[[nodiscard]] constexpr bool isValidProviderMessageSize(std::size_t size) noexcept {
  return size >= 1 && size <= MaxProviderMessageSize;
}

/// The prefix for a body of `bodySize` bytes, which must be valid.
[[nodiscard]] ProviderFramePrefix encodeProviderFramePrefix(std::size_t bodySize) noexcept;

/// The body size in a prefix, valid or not.
[[nodiscard]] std::uint32_t decodeProviderFramePrefix(const ProviderFramePrefix& prefix) noexcept;

}  // namespace korvan
