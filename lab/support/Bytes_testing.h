#pragma once

#include <cstdint>
#include <vector>

#include "platform/Data.h"

namespace korvan::lab {

/// Data as tests write it down.
[[nodiscard]] inline Data bytes(const std::vector<std::uint8_t>& values) {
  return Data::copyOf(values);
}

}  // namespace korvan::lab
