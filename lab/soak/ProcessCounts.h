#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace korvan::lab::soak {

/// What this process holds of the system.
struct ProcessCounts {
  std::size_t descriptors = 0;
  std::size_t threads = 0;
  std::size_t residentBytes = 0;
};

/// How many threads that are done GLib keeps for later, at most.
[[nodiscard]] std::size_t spareThreads();

/// How much more memory than before counts as the same: what the allocator may keep in pieces that
/// it cannot give back, whatever the number of requests.
inline constexpr std::size_t ResidentTolerance = std::size_t{8} << 20U;

/// The counts of now, once the threads whose work is over have ended. When more than `threads` and
/// the spare ones still run after some seconds, these are counted too. Frees unused memory first.
/// No work is going on.
[[nodiscard]] ProcessCounts settledCounts(std::size_t threads);

/// How many entries the directory has, such as a process's "fd" and "task".
[[nodiscard]] std::size_t entriesOf(const std::filesystem::path& directory);

/// How many threads this process has.
[[nodiscard]] std::size_t threadCount();

/// What grew, a sentence for each: descriptors by any, threads by more than the spare ones, memory
/// by more than the tolerance.
[[nodiscard]] std::vector<std::string> growthBetween(const ProcessCounts& before,
                                                     const ProcessCounts& after);

}  // namespace korvan::lab::soak
