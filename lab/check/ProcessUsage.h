#pragma once

#include <cstddef>
#include <optional>

#include <sys/types.h>

namespace korvan::lab::check {

/// What a process holds at one moment.
struct ProcessUsage {
  std::size_t descriptors = 0;
  std::size_t threads = 0;
  /// Processes that it has started and not waited for, whether they run or have ended.
  std::size_t children = 0;
  /// Resident memory that no file backs, in KiB.
  std::size_t memory = 0;
};

/// Nullopt when there is no such process, or its details are another user's.
[[nodiscard]] std::optional<ProcessUsage> usageOf(pid_t process);

}  // namespace korvan::lab::check
