#pragma once

#include <expected>
#include <string_view>

#include "platform/Data.h"
#include "platform/PropertyList.h"
#include "platform/PropertyListSerialization.h"

namespace korvan {

/// Whether the characters begin like XML: with a tag that cannot be hexadecimal data of the
/// OpenStep format.
[[nodiscard]] bool isXmlPropertyList(std::string_view characters) noexcept;

/// Reads the XML format, as `man 5 plist` on macOS and
/// http://www.apple.com/DTDs/PropertyList-1.0.dtd describe it. The document type and the `plist`
/// element around the value are optional. Attributes are ignored. A document type with declarations
/// is refused, and so is every entity except XML's five and numeric ones: nothing in a property
/// list can expand to more than was written.
///
/// The `characters` are UTF-8, whatever encoding they declare. A dictionary whose only key is
/// `CF$UID`, with a 32-bit integer, is a keyed archiver's reference, for which XML has no element.
/// The last value of a repeated key wins. Time and memory are proportional to the size; sorting a
/// dictionary's keys adds a logarithm. The error names the line and column, and what is wrong
/// there.
[[nodiscard]] std::expected<PropertyListValue, PropertyListError> readXmlPropertyList(
    const Data& characters);

}  // namespace korvan
