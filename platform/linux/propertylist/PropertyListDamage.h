#pragma once

#include <cstddef>
#include <string>

#include "platform/PropertyList.h"

namespace korvan {

/// What is wrong with a property list. Readers use it internally, and never throw it to their
/// callers.
struct PropertyListDamage {
  /// The offset in bytes.
  std::size_t offset = 0;
  std::string what;
};

/// Throws if the container at `offset` makes the nesting too deep. `nesting` includes it.
inline void checkPropertyListNesting(std::size_t nesting, std::size_t offset) {
  if (nesting > MaxPropertyListNesting) {
    throw PropertyListDamage{
        .offset = offset,
        .what = "more than " + std::to_string(MaxPropertyListNesting) + " containers are nested"};
  }
}

}  // namespace korvan
