#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace korvan::lab::soak {

/// The resources that this process holds.
struct ProcessCounts {
  std::size_t descriptors = 0;
  std::size_t threads = 0;
  std::size_t residentBytes = 0;
};

/// How many idle threads GLib keeps at most.
[[nodiscard]] std::size_t spareThreads();

/// How much memory may grow without counting as a leak: what fragmentation may cost, whatever the
/// number of requests.
inline constexpr std::size_t ResidentTolerance = std::size_t{8} << 20U;

/// The current counts, once finished threads have ended. If more than `threads` and the spare ones
/// still run after some seconds, counts those too. Frees unused memory first. Call it while there
/// is no work.
[[nodiscard]] ProcessCounts settledCounts(std::size_t threads);

/// How many entries a directory has, such as a process's "fd" and "task".
[[nodiscard]] std::size_t entriesOf(const std::filesystem::path& directory);

/// How many threads this process has.
[[nodiscard]] std::size_t threadCount();

/// A sentence for each count that grew: descriptors by any number, threads by more than the spare
/// ones, memory by more than the tolerance.
[[nodiscard]] std::vector<std::string> growthBetween(const ProcessCounts& before,
                                                     const ProcessCounts& after);

}  // namespace korvan::lab::soak
