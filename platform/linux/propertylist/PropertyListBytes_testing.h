#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <limits>
#include <string>
#include <string_view>

#include "platform/Data.h"

namespace korvan {

/// The bytes of a literal.
[[nodiscard]] inline Data dataOf(std::string_view bytes) {
  return Data::copyOf({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

/// An encoded object of a binary property list: its first byte, then what follows.
[[nodiscard]] inline std::string object(int first, std::string_view rest = "") {
  return std::string(1, static_cast<char>(first)).append(rest);
}

/// Processor time: the minimum of a few runs, because other processes disturb that least.
template <typename Action>
[[nodiscard]] std::clock_t leastTicks(Action action) {
  std::clock_t least = std::numeric_limits<std::clock_t>::max();
  for (int run = 0; run < 5; ++run) {
    const std::clock_t start = std::clock();
    action();
    least = std::min(least, std::clock() - start);
  }
  return least;
}

/// How many times longer 64 times as much takes, by `ticksFor`: about 64 if the work is linear,
/// about 4096 if it is quadratic. Caches and a coarse clock blur both.
template <typename TicksFor>
[[nodiscard]] std::clock_t growthOf(std::size_t count, TicksFor ticksFor) {
  const std::clock_t least = std::max<std::clock_t>(1, ticksFor(count));
  return ticksFor(64 * count) / least;
}

constexpr std::clock_t MaxGrowth = 1024;

}  // namespace korvan
