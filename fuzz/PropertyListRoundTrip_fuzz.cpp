#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "fuzz/Fuzzing.h"
#include "fuzz/PropertyListWalk.h"
#include "platform/linux/BinaryPropertyListFormat.h"
#include "platform/linux/LinuxPropertyListSerialization.h"
#include "platform/linux/PropertyListLimits.h"

// What can be read can be written, unless it is null, a set or nested too deep; and what was
// written reads as the same again.

using namespace korvan;
using fuzz::require;

namespace {

PropertyListDictionary dictionaryAround(const PropertyListValue& value) {
  const auto* const dictionary = value.dictionary();
  return dictionary != nullptr ? *dictionary
                               : PropertyListDictionary{{.key = Text("value"), .value = value}};
}

std::uint64_t numberAt(const Data& bytes, std::size_t offset, std::size_t width) {
  std::uint64_t number = 0;
  for (const std::uint8_t byte : bytes.bytes().subspan(offset, width)) {
    number = number << 8 | byte;
  }
  return number;
}

std::size_t bytesFor(std::uint64_t number) { return number < 256 ? 1 : 1 + bytesFor(number / 256); }

/// The bytes hold what their trailer says and nothing else: objects side by side, a table of their
/// offsets, both with numbers no wider than needed.
void requireTightLayout(const Data& bytes) {
  namespace format = binaryPropertyList;
  const std::size_t trailer = bytes.size() - format::TrailerSize;
  const std::size_t offsetWidth = numberAt(bytes, trailer + 6, 1);
  const std::uint64_t objectCount = numberAt(bytes, trailer + 8, 8);
  const std::uint64_t tableOffset = numberAt(bytes, trailer + 24, 8);
  require(numberAt(bytes, trailer, 6) == 0, "the unused bytes are zero");
  require(tableOffset + (objectCount * offsetWidth) == trailer, "the table fills its place");
  require(offsetWidth == bytesFor(tableOffset), "offsets are as wide as the last one needs");
  require(numberAt(bytes, trailer + 7, 1) == bytesFor(objectCount),
          "references are as wide as the number of objects needs");
  require(numberAt(bytes, trailer + 16, 8) == 0, "the root comes first");
  std::uint64_t last = 0;
  for (std::size_t place = tableOffset; place < trailer; place += offsetWidth) {
    const std::uint64_t offset = numberAt(bytes, place, offsetWidth);
    require(last == 0 ? offset == format::Magic.size() : offset > last, "objects follow in order");
    last = offset;
  }
  require(last < tableOffset, "objects end before the table");
}

void requireSameAgain(const PropertyListDictionary& root, const fuzz::PropertyListContents& held,
                      const Data& bytes) {
  const LinuxPropertyListSerialization serialization;
  const auto again = serialization.decode(bytes);
  require(again.has_value(), "what was written can be read");
  require(again->dictionary() != nullptr, "a dictionary reads as a dictionary");
  // NaN equals nothing. The bytes below tell whether it is the same one.
  require(held.hasNotANumber || *again->dictionary() == root, "what was read is what was written");
  require(serialization.encodeBinary(*again->dictionary()) == bytes,
          "what was read is written as the same bytes");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* first, std::size_t size) {
  const LinuxPropertyListSerialization serialization;
  const auto value = serialization.decode(fuzz::exactCopyOf(std::span(first, size)));
  if (!value) {
    return 0;
  }
  const PropertyListDictionary root = dictionaryAround(*value);
  const auto held = fuzz::walk(root);
  const bool canBeWritten = !held.hasNull && !held.hasSet && held.height <= MaxPropertyListNesting;
  const auto bytes = serialization.encodeBinary(root);
  require(bytes.has_value() == canBeWritten, "only null, a set and too deep a nesting are refused");
  if (!bytes) {
    require(!bytes.error().localizedDescription.value_or("").empty(), "an error has a description");
    return 0;
  }
  require(serialization.encodeBinary(root) == *bytes, "writing again gives the same bytes");
  requireTightLayout(*bytes);
  requireSameAgain(root, held, *bytes);
  return 0;
}
