#pragma once

#include <istream>
#include <optional>

#include <sys/types.h>

namespace korvan::lab {

/// Sends the signal to every child of this process.
void signalChildren(int signal);

/// The parent that /proc/ID/stat names. Nullopt when the process has ended, even since the file was
/// opened.
[[nodiscard]] std::optional<pid_t> parentIn(std::istream& stat);

}  // namespace korvan::lab
