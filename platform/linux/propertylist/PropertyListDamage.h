#pragma once

#include <cstddef>
#include <string>

#include "platform/PropertyList.h"

namespace korvan {

/// What is wrong with a property list. Readers throw it from within and never to their callers.
struct PropertyListDamage {
  /// Bytes from the beginning.
  std::size_t offset = 0;
  std::string what;
};

/// Throws when the container at `offset` makes so many, itself included, that are nested.
inline void checkPropertyListNesting(std::size_t nesting, std::size_t offset) {
  if (nesting > MaxPropertyListNesting) {
    throw PropertyListDamage{
        .offset = offset,
        .what = "more than " + std::to_string(MaxPropertyListNesting) + " containers are nested"};
  }
}

}  // namespace korvan
