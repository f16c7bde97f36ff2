#pragma once

#include <expected>

#include "platform/Data.h"
#include "platform/PropertyList.h"
#include "platform/PropertyListSerialization.h"

namespace korvan {

/// Reads the text format that came with OpenStep: strings, quoted or bare, `<hexadecimal data>`,
/// `(arrays)`, `{dictionaries = "like this";}` and comments. Also the entries of a dictionary
/// without its braces, as in a strings file. An empty file is an empty dictionary.
/// See https://github.com/apple-oss-distributions/CF/blob/main/CFOldStylePList.c.
///
/// The `characters` are UTF-8, and strings without escapes share them. The last value of a repeated
/// key wins. Time and memory are proportional to the size; sorting a dictionary's keys adds a
/// logarithm. The error names the line and column, and what is wrong there.
[[nodiscard]] std::expected<PropertyListValue, PropertyListError> readOpenStepPropertyList(
    const Data& characters);

}  // namespace korvan
