#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "lab/system/Call.h"

namespace korvan::lab {

/// The call that a line of JSON stands for, or a sentence that says why it stands for none: what is
/// wrong, where, and what would be right.
///
/// The line is an object whose `entryPoint` is the platform's selector and whose other keys are the
/// selector's arguments. An unknown key and one that is given twice are refused: a slip of the pen
/// would otherwise pass for nil.
[[nodiscard]] std::expected<Call, std::string> parseCall(std::string_view line);

}  // namespace korvan::lab
