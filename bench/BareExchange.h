#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "platform/Data.h"

namespace korvan::bench {

/// The floor of an exchange: the same system calls with the same bytes and the same buffers, and
/// nothing else. Aborts when anything is not as it should be, since nothing is to be timed then.
[[nodiscard]] Data bareExchange(const std::string& socketPath,
                                std::span<const std::uint8_t> request);

}  // namespace korvan::bench
