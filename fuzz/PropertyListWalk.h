#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/PropertyList.h"

namespace korvan::fuzz {

/// What a value holds anywhere inside it.
struct PropertyListContents {
  bool hasNull = false;
  bool hasSet = false;
  bool hasNotANumber = false;
  /// Containers inside one another, sets included.
  std::size_t height = 0;
  /// Of all data: every byte is read, so that a sanitizer sees one that is not the value's.
  std::uint64_t sumOfBytes = 0;
};

/// Visits every value once, however many ways lead to it, and requires what every reader promises:
/// texts are UTF-8, and a dictionary's keys are in order and differ.
PropertyListContents walk(const PropertyListValue& top);

}  // namespace korvan::fuzz
