#pragma once

#include <expected>

#include "platform/Data.h"
#include "platform/PropertyList.h"
#include "platform/PropertyListSerialization.h"

namespace korvan {

/// Writes the binary property-list format, version 1.0; see BinaryPropertyListFormat.h.
///
/// Equal strings, data and numbers are written once each, and so are containers that share their
/// storage: the output, the time and the memory follow what the values hold in memory, not the
/// number of ways that lead to it, and stay proportional to it (but for a logarithm) whatever the
/// values are. The same property list gives the same bytes.
class BinaryPropertyListWriter {
 public:
  /// The encoded `root`. Fails, naming the place in the property list, for null, for a text that is
  /// not UTF-8 and for containers nested deeper than MaxPropertyListNesting.
  static std::expected<Data, PropertyListError> write(const PropertyListDictionary& root);
};

}  // namespace korvan
