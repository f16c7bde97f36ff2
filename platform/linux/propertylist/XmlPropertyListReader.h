#pragma once

#include <expected>
#include <string_view>

#include "platform/Data.h"
#include "platform/PropertyList.h"
#include "platform/PropertyListSerialization.h"

namespace korvan {

/// Whether the characters announce the XML format: whether they begin with a tag that cannot be the
/// hexadecimal data of the OpenStep format.
[[nodiscard]] bool isXmlPropertyList(std::string_view characters) noexcept;

/// Reads the XML format, as `man 5 plist` on macOS and
/// http://www.apple.com/DTDs/PropertyList-1.0.dtd describe it. The document type may be missing,
/// and so may the `plist` element around the value. Attributes are ignored. A document type with
/// declarations of its own is refused, and so is every entity but XML's five and the numbered ones:
/// nothing in a property list can stand for more than was written.
///
/// The `characters` are UTF-8, whatever encoding they declare for the bytes that they once were. A
/// dictionary whose one key is `CF$UID`, with an integer of 32 bits, is a keyed archiver's
/// reference number, which XML has no element for. Of a repeated key the last value counts. Time
/// and memory are proportional to the characters (ordering a dictionary's keys adds a logarithm).
/// The error names the line and column and what is wrong there.
[[nodiscard]] std::expected<PropertyListValue, PropertyListError> readXmlPropertyList(
    const Data& characters);

}  // namespace korvan
