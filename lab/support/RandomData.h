#pragma once

#include <cstddef>

#include "platform/Data.h"

namespace korvan::lab {

/// Random bytes, fit for secrets. Throws std::runtime_error when the system has none.
[[nodiscard]] Data randomData(std::size_t size);

}  // namespace korvan::lab
