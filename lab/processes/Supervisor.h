#pragma once

#include <filesystem>
#include <functional>

namespace korvan::lab {

/// Runs `body` in a descendant process, with a new directory of mode 0700, and returns its exit
/// status. If `body` throws, the reason goes to standard error and the status is NotVerified.
///
/// Nothing is left on return: every descendant of `body` has ended, even a detached one, and the
/// directory is removed. The same holds after SIGINT, SIGTERM and SIGHUP, which end `body`; the
/// status is then 128 plus the signal's number. When SIGKILL ends one of the processes, all of this
/// is cleaned up soon after. If all are killed at once, the next call removes the directory.
///
/// At the end of all, `tidyUp` removes what they have left elsewhere. It may run in another
/// process, and twice.
///
/// Must be called before there are threads, in a process without other children. Throws
/// std::system_error when no process or directory can be created.
[[nodiscard]] int runSupervised(
    const std::function<int(const std::filesystem::path& directory)>& body,
    const std::function<void()>& tidyUp = {});

}  // namespace korvan::lab
