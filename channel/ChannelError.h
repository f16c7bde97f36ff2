#pragma once

#include <string>
#include <string_view>

#include "platform/CodeSigning.h"
#include "platform/Error.h"

namespace korvan {

// The channel's errors, each worded so that the step that failed can be told.

/// An error of the POSIX domain with a text of its own. `code` is an `errno` value.
[[nodiscard]] Error posixError(int code, std::string description);

/// "STEP failed: TEXT" for the system call that has just failed, from `errno`.
[[nodiscard]] Error systemCallError(std::string_view step);

/// "STEP failed: TEXT" for a Security status.
[[nodiscard]] Error statusError(const CodeSigning& codeSigning, std::string_view step,
                                OSStatus status);

}  // namespace korvan
