#pragma once

#include <filesystem>
#include <functional>

namespace korvan::lab {

/// Runs `body` in a process of its own, in a new directory for this user only, and gives its exit
/// status, which is EXIT_FAILURE when it throws, with the reason on standard error.
///
/// On return nothing is left: every process that descends from `body`, however it was detached, has
/// ended, and the directory is removed. That is so too when SIGINT, SIGTERM or SIGHUP interrupts:
/// `body` is then ended at once, and the exit status is 128 plus the signal's number.
///
/// Called before there are threads, in a process without other children. Throws std::system_error
/// when the process or the directory cannot be made.
[[nodiscard]] int runSupervised(
    const std::function<int(const std::filesystem::path& directory)>& body);

}  // namespace korvan::lab
