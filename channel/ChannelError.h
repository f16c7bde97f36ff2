#pragma once

#include <string>
#include <string_view>

#include "platform/CodeSigning.h"
#include "platform/Error.h"

namespace korvan {

// The channel's errors. Each names the step that failed.

/// An error of the POSIX domain with its own description. `code` is an `errno` value.
[[nodiscard]] Error posixError(int code, std::string description);

/// "STEP failed: TEXT" for the system call that has just failed. Reads `errno`.
[[nodiscard]] Error systemCallError(std::string_view step);

/// "STEP failed: TEXT" for a Security status.
[[nodiscard]] Error statusError(const CodeSigning& codeSigning, std::string_view step,
                                OSStatus status);

}  // namespace korvan
