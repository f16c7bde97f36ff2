#pragma once

#include <expected>

#include "platform/Data.h"
#include "platform/PropertyList.h"
#include "platform/PropertyListSerialization.h"

namespace korvan {

/// Writes the binary format, version 1.0; see BinaryPropertyListFormat.h.
///
/// Equal strings, data and numbers are written once each, and so is a container that values share:
/// the output follows what the values hold in memory, not the number of ways that lead to it. The
/// same property list gives the same bytes. Time and memory are proportional to the members of the
/// distinct containers, whatever the values are.
///
/// Fails, naming the place in the property list, for null, for a set, for a text that is not UTF-8
/// and for containers nested deeper than MaxPropertyListNesting.
[[nodiscard]] std::expected<Data, PropertyListError> writeBinaryPropertyList(
    const PropertyListDictionary& root);

}  // namespace korvan
