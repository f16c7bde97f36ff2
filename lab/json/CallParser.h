#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "lab/system/Call.h"

namespace korvan::lab {

/// Parses a line of JSON into a call. On failure a sentence says what is wrong, where, and what
/// would be right.
///
/// The line is an object whose `entryPoint` is the platform's selector and whose other keys are the
/// selector's arguments. An unknown key and a key that is given twice are errors: otherwise a
/// typing mistake would count as nil. docs/lab-calls.md describes all of it.
[[nodiscard]] std::expected<Call, std::string> parseCall(std::string_view line);

}  // namespace korvan::lab
