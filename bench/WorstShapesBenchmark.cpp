// What the costliest bodies take to decode, or to be refused: time and memory of 4 MiB, and how
// both grow from 64 KiB on. Each is decoded and released in a process of its own.

#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bench/PairedRounds.h"
#include "bench/WorstShapes.h"
#include "platform/Data.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace korvan::bench {
namespace {

constexpr std::size_t MinSize = 64UL << 10;
constexpr std::size_t MaxSize = 4UL << 20;
constexpr double MaxSeconds = 1;
constexpr double MaxMegabytes = 400;

struct Cost {
  double seconds = 0;
  /// The most that was held at once beyond the body itself.
  double megabytes = 0;
  bool isRead = false;
};

Data dataOf(std::string_view bytes) {
  return Data::copyOf({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

double residentMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;
}

/// The cost in this process, which has done nothing like it before.
Cost costHere(const Data& body) {
  const LinuxPropertyListSerialization serialization;
  Cost cost;
  const double before = residentMegabytes();
  const auto start = std::chrono::steady_clock::now();
  {
    const auto value = serialization.decode(body);
    cost.isRead = value.has_value();
  }
  cost.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  cost.megabytes = residentMegabytes() - before;
  return cost;
}

/// The cost in a process of its own; nothing when that ended early.
std::optional<Cost> costOf(const Data& body) {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) {
    return std::nullopt;
  }
  // What was freed here must not serve the child, or it would not be counted.
  malloc_trim(0);
  const pid_t child = fork();
  if (child == 0) {
    const Cost cost = costHere(body);
    const bool isWritten = write(ends[1], &cost, sizeof cost) == ssize_t{sizeof cost};
    _exit(isWritten ? EXIT_SUCCESS : EXIT_FAILURE);
  }
  close(ends[1]);
  Cost cost;
  const bool isWhole = child > 0 && read(ends[0], &cost, sizeof cost) == ssize_t{sizeof cost};
  close(ends[0]);
  if (child > 0) {
    waitpid(child, nullptr, 0);
  }
  return isWhole ? std::optional(cost) : std::nullopt;
}

std::optional<Cost> medianCostOf(const Data& body) {
  constexpr std::size_t Rounds = 3;
  std::vector<double> seconds;
  std::optional<Cost> cost;
  for (std::size_t round = 0; round < Rounds; ++round) {
    cost = costOf(body);
    if (!cost) {
      return std::nullopt;
    }
    seconds.push_back(cost->seconds);
  }
  cost->seconds = medianOf(std::move(seconds));
  return cost;
}

/// The power of the size that the time grows with: the slope of a line through the logarithms.
double growthOf(const WorstShape& shape) {
  double count = 0;
  double sumX = 0;
  double sumY = 0;
  double sumXX = 0;
  double sumXY = 0;
  for (std::size_t size = MinSize; size <= MaxSize; size *= 2) {
    const auto cost = medianCostOf(dataOf(shape.bytes(size)));
    const double x = std::log2(static_cast<double>(size));
    const double y = std::log2(cost ? cost->seconds : MaxSeconds);
    count += 1;
    sumX += x;
    sumY += y;
    sumXX += x * x;
    sumXY += x * y;
  }
  return ((count * sumXY) - (sumX * sumY)) / ((count * sumXX) - (sumX * sumX));
}

/// Prints the shape's line; whether it stays within what is allowed.
bool show(const WorstShape& shape) {
  const auto cost = medianCostOf(dataOf(shape.bytes(MaxSize)));
  std::cout << std::left << std::setw(42) << shape.name() << std::right << std::flush;
  if (!cost) {
    std::cout << "  the process ended early\n";
    return false;
  }
  const bool isWithin = cost->seconds < MaxSeconds && cost->megabytes < MaxMegabytes;
  std::cout << std::fixed << std::setprecision(1) << std::setw(9) << cost->seconds * 1000 << " ms"
            << std::setw(8) << cost->megabytes << " MB" << std::setprecision(2) << std::setw(7)
            << growthOf(shape) << (cost->isRead ? "  read" : "  refused")
            << (isWithin ? "" : "  TOO MUCH") << '\n'
            << std::flush;
  return isWithin;
}

bool showBombs() {
  bool areWithin = true;
  for (const std::size_t levels : {18U, 22U, 30U, 60U}) {
    const auto cost = medianCostOf(dataOf(bombOfSharedReferences(levels)));
    areWithin = areWithin && cost && cost->isRead && cost->seconds < 0.001;
    std::cout << "shared references " << levels << " levels deep: " << std::fixed
              << std::setprecision(3) << (cost ? cost->seconds * 1000 : -1) << " ms\n";
  }
  return areWithin;
}

}  // namespace
}  // namespace korvan::bench

int main(int argc, char** argv) {
  const bool isQuick = argc == 2 && std::strcmp(argv[1], "--quick") == 0;
  std::cout << "4 MiB of each shape: time, memory beyond the body, and the power of the size that "
               "the time grows with\n";
  bool areWithin = true;
  for (const auto& shape : korvan::bench::worstShapes()) {
    areWithin = korvan::bench::show(shape) && areWithin;
    if (isQuick) {
      break;
    }
  }
  areWithin = korvan::bench::showBombs() && areWithin;
  return areWithin ? EXIT_SUCCESS : EXIT_FAILURE;
}
