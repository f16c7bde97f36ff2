#pragma once

#include <expected>

#include "platform/Data.h"
#include "platform/PropertyList.h"
#include "platform/PropertyListSerialization.h"

namespace korvan {

/// Whether `bytes` announce the binary format, in whichever version.
[[nodiscard]] bool isBinaryPropertyList(const Data& bytes) noexcept;

/// Reads the binary format, version 1.0; see BinaryPropertyListFormat.h.
///
/// Data and ASCII strings share the bytes that they were read from. An object that is referred to
/// more than once is one value with shared storage. Whatever the bytes say, time and memory stay
/// proportional to their number (ordering a dictionary's keys adds a logarithm).
///
/// Of a repeated key the last value counts. A null object reads as the null value. The error names
/// the byte offset and what is wrong there.
[[nodiscard]] std::expected<PropertyListValue, PropertyListError> readBinaryPropertyList(
    const Data& bytes);

}  // namespace korvan
