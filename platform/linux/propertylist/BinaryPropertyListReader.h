#pragma once

#include <expected>

#include "platform/Data.h"
#include "platform/PropertyList.h"
#include "platform/PropertyListSerialization.h"

namespace korvan {

/// Whether `bytes` begin like the binary format, in any version.
[[nodiscard]] bool isBinaryPropertyList(const Data& bytes) noexcept;

/// Reads the binary format, version 1.0; see BinaryPropertyListFormat.h.
///
/// Data and ASCII strings share the bytes that they were read from. An object that is referred to
/// more than once is one value with shared storage. For any input, time and memory are proportional
/// to its size; sorting a dictionary's keys adds a logarithm.
///
/// The last value of a repeated key wins. A null object becomes the null value. The error names the
/// byte offset, and what is wrong there.
[[nodiscard]] std::expected<PropertyListValue, PropertyListError> readBinaryPropertyList(
    const Data& bytes);

}  // namespace korvan
