#pragma once

#include <cstdint>
#include <expected>
#include <string_view>

#include "platform/Data.h"
#include "platform/PropertyList.h"
#include "platform/PropertyListSerialization.h"

namespace korvan {

// In every format the last value of a repeated key wins, and a nesting deeper than
// MaxPropertyListNesting is refused. For any input, time and memory are proportional to its size;
// sorting a dictionary's keys adds a logarithm.

/// Whether `bytes` begin like the binary format, in any version.
[[nodiscard]] bool isBinaryPropertyList(const Data& bytes) noexcept;

/// Reads the binary format, version 1.0; see BinaryPropertyListFormat.h.
///
/// Data and ASCII strings share the bytes that they were read from. An object that is referred to
/// more than once is one value with shared storage. A null object becomes the null value. The error
/// names the byte offset, and what is wrong there.
[[nodiscard]] std::expected<PropertyListValue, PropertyListError> readBinaryPropertyList(
    const Data& bytes);

/// Writes the binary format, version 1.0; see BinaryPropertyListFormat.h.
///
/// Writes equal strings, data and numbers once each, and a shared container once: the size of the
/// output follows that of the values in memory, not the number of references. The same property
/// list gives the same bytes. Time and memory are proportional to the members of the distinct
/// containers, for any values whose author does not know `hashSecret`.
///
/// Fails for null, for a set and for a text that is not UTF-8. The error names the place in the
/// property list.
[[nodiscard]] std::expected<Data, PropertyListError> writeBinaryPropertyList(
    const PropertyListDictionary& root, std::uint64_t hashSecret);

// The `characters` of the text formats are UTF-8; see PropertyListCharacters.h. The errors name the
// line and column, and what is wrong there.

/// Whether the characters begin like XML: with a tag that cannot be hexadecimal data of the
/// OpenStep format.
[[nodiscard]] bool isXmlPropertyList(std::string_view characters) noexcept;

/// Reads the XML format, as `man 5 plist` on macOS and
/// http://www.apple.com/DTDs/PropertyList-1.0.dtd describe it, whatever encoding it declares. The
/// document type and the `plist` element around the value are optional. Attributes are ignored. A
/// document type with declarations is refused, and so is every entity except XML's five and numeric
/// ones: nothing in a property list can expand to more than was written.
///
/// A dictionary whose only key is `CF$UID`, with a 32-bit integer, is a keyed archiver's reference,
/// for which XML has no element.
[[nodiscard]] std::expected<PropertyListValue, PropertyListError> readXmlPropertyList(
    const Data& characters);

/// Reads the text format that came with OpenStep: strings, quoted or bare, `<hexadecimal data>`,
/// `(arrays)`, `{dictionaries = "like this";}` and comments. Also the entries of a dictionary
/// without its braces, as in a strings file. An empty file is an empty dictionary. Strings without
/// escapes share the characters. See
/// https://github.com/apple-oss-distributions/CF/blob/main/CFOldStylePList.c.
[[nodiscard]] std::expected<PropertyListValue, PropertyListError> readOpenStepPropertyList(
    const Data& characters);

}  // namespace korvan
