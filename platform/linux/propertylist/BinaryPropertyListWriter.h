#pragma once

#include <expected>

#include "platform/Data.h"
#include "platform/PropertyList.h"
#include "platform/PropertyListSerialization.h"

namespace korvan {

/// Writes the binary format, version 1.0; see BinaryPropertyListFormat.h.
///
/// Writes equal strings, data and numbers once each, and a shared container once: the size of the
/// output follows that of the values in memory, not the number of references. The same property
/// list gives the same bytes. Time and memory are proportional to the members of the distinct
/// containers, for any values.
///
/// Fails for null, for a set, for a text that is not UTF-8 and for containers nested deeper than
/// MaxPropertyListNesting. The error names the place in the property list.
[[nodiscard]] std::expected<Data, PropertyListError> writeBinaryPropertyList(
    const PropertyListDictionary& root);

}  // namespace korvan
