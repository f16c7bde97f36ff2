#pragma once

#include <cstddef>

#include "platform/Data.h"

namespace korvan::lab {

/// `size` bytes that nobody can guess. Throws std::runtime_error when the system has none to give.
[[nodiscard]] Data randomData(std::size_t size);

}  // namespace korvan::lab
