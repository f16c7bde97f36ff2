#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/PropertyList.h"

namespace korvan {

/// What is wrong with a property list. Readers use it internally, and never throw it to their
/// callers.
struct PropertyListDamage {
  /// The offset in bytes.
  std::size_t offset = 0;
  std::string what;
};

/// "1 byte" or "2 bytes" in a sentence.
struct Counted {
  std::uint64_t count = 0;
  std::string_view thing;
};

inline Counted counted(std::uint64_t count, std::string_view thing) {
  return {.count = count, .thing = thing};
}

inline std::string textOf(std::string_view text) { return std::string(text); }
inline std::string textOf(std::uint64_t number) { return std::to_string(number); }
inline std::string textOf(const Counted& things) {
  return textOf(things.count) + ' ' + textOf(things.thing) + (things.count == 1 ? "" : "s");
}

/// Throws PropertyListDamage, with the sentence that the parts make.
template <typename... Parts>
[[noreturn, gnu::cold]] void throwDamage(std::size_t offset, Parts... parts) {
  throw PropertyListDamage{.offset = offset, .what = (textOf(parts) + ...)};
}

template <typename... Parts>
void require(bool isRight, std::size_t offset, Parts... parts) {
  if (!isRight) {
    throwDamage(offset, parts...);
  }
}

/// Throws if the container at `offset` makes the nesting too deep. `nesting` includes it.
inline void checkPropertyListNesting(std::size_t nesting, std::size_t offset) {
  require(nesting <= MaxPropertyListNesting, offset, "more than ", MaxPropertyListNesting,
          " containers are nested");
}

}  // namespace korvan
