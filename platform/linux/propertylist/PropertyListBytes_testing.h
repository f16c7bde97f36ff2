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

/// The bytes of a text, as tests write them down.
[[nodiscard]] inline Data dataOf(std::string_view bytes) {
  return Data::copyOf({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

/// An encoded object of a binary property list: its first byte, then what follows.
[[nodiscard]] inline std::string object(int first, std::string_view rest = "") {
  return std::string(1, static_cast<char>(first)).append(rest);
}

/// Processor time; the least of a few runs, which the rest of the machine disturbs least.
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

/// How many times longer `ticksFor` says that 64 times as much takes: some 64 when the work is
/// linear, some 4096 when it is quadratic. Outgrown caches and a coarse clock blur both.
template <typename TicksFor>
[[nodiscard]] std::clock_t growthOf(std::size_t count, TicksFor ticksFor) {
  const std::clock_t least = std::max<std::clock_t>(1, ticksFor(count));
  return ticksFor(64 * count) / least;
}

constexpr std::clock_t MaxGrowth = 1024;

}  // namespace korvan
