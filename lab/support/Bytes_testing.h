#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "platform/Data.h"

namespace korvan::lab {

/// Data from literals.
[[nodiscard]] inline Data bytes(const std::vector<std::uint8_t>& values) {
  return Data::copyOf(values);
}

/// `size` bytes of the same value.
[[nodiscard]] inline Data testBytes(std::size_t size, std::uint8_t value) {
  return Data::copyOf(std::vector<std::uint8_t>(size, value));
}

/// The parts, concatenated.
[[nodiscard]] inline Data joined(std::initializer_list<Data> parts) {
  std::vector<std::uint8_t> all;
  for (const Data& part : parts) {
    all.insert(all.end(), part.bytes().begin(), part.bytes().end());
  }
  return Data::copyOf(all);
}

}  // namespace korvan::lab
