#pragma once

#include <expected>
#include <string_view>

#include "platform/Data.h"
#include "platform/PropertyList.h"
#include "platform/PropertyListSerialization.h"

namespace korvan {

/// Reads the XML format, as `man 5 plist` on macOS and
/// http://www.apple.com/DTDs/PropertyList-1.0.dtd describe it. The document type may be missing,
/// and so may the `plist` element around the value; attributes are not looked at. A document type
/// with declarations of its own is refused, and so is every entity but XML's five and the numbered
/// ones: nothing in a property list can stand for more than was written.
///
/// A dictionary whose one key is `CF$UID`, with an integer of 32 bits, is a keyed archiver's
/// reference number, which XML has no element for. Of a repeated key the last value counts. Time
/// and memory are proportional to the characters (sorting a dictionary's keys adds a logarithm).
class XmlPropertyListReader {
 public:
  /// Whether the characters announce this format: whether they begin with a tag that cannot be the
  /// hexadecimal data of the OpenStep format.
  static bool recognizes(std::string_view characters) noexcept;

  /// The property list in `characters`, which are UTF-8, whatever encoding they declare for the
  /// bytes that they were once. The error names the line and column and what is wrong there.
  static std::expected<PropertyListValue, PropertyListError> read(const Data& characters);
};

}  // namespace korvan
