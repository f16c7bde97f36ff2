#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

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
using CountedNoun = std::pair<std::uint64_t, std::string_view>;

inline std::string damageText(std::string_view text) { return std::string(text); }
inline std::string damageText(std::uint64_t number) { return std::to_string(number); }
inline std::string damageText(const CountedNoun& counted) {
  const auto& [count, noun] = counted;
  return damageText(count) + ' ' + damageText(noun) + (count == 1 ? "" : "s");
}

/// Throws PropertyListDamage, with the sentence that the parts make.
template <typename... Parts>
[[noreturn, gnu::cold]] void throwDamage(std::size_t offset, Parts... parts) {
  throw PropertyListDamage{.offset = offset, .what = (damageText(parts) + ...)};
}

/// Throws the same unless `isIntact`.
template <typename... Parts>
void requireIntact(bool isIntact, std::size_t offset, Parts... parts) {
  if (!isIntact) {
    throwDamage(offset, parts...);
  }
}

/// Throws if the container at `offset` makes the nesting too deep. `nesting` includes it.
inline void checkPropertyListNesting(std::size_t nesting, std::size_t offset) {
  requireIntact(nesting <= MaxPropertyListNesting, offset, "more than ", MaxPropertyListNesting,
                " containers are nested");
}

}  // namespace korvan
