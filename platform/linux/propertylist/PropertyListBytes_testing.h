#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Data.h"

namespace korvan {

/// For writeBinaryPropertyList: the values of tests collide for no secret.
inline constexpr std::uint64_t HashSecret = 0x9E37'79B9'7F4A'7C15;

/// The bytes of a literal.
[[nodiscard]] inline Data dataOf(std::string_view bytes) {
  return Data::copyOf({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

/// An encoded object of a binary property list: its first byte, then what follows.
[[nodiscard]] inline std::string object(int first, std::string_view rest = "") {
  return std::string(1, static_cast<char>(first)).append(rest);
}

}  // namespace korvan
