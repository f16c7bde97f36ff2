#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <unordered_map>

#include "fuzz/Fuzzing.h"
#include "platform/linux/propertylist/BinaryPropertyListFormat.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

// Any bytes are an error with a description, or a property list. The writer takes what was read
// unless it holds null or a set, and the reader reads the same value from what was written.

using namespace korvan;
using fuzz::require;

namespace {

/// Walks a value, and looks into a shared container once, however many ways lead to it.
class Walk {
 public:
  struct Extent {
    /// Containers inside one another.
    std::size_t height = 0;
    /// Values that a walk without memory would meet; infinite when there are very many.
    double unfolded = 1;
  };

  Extent visit(const PropertyListValue& value) {
    if (const auto* items = value.array() != nullptr ? value.array() : value.set()) {
      hasSet |= value.set() != nullptr;
      return visitOnce(items, *items, [](const auto& item) -> auto& { return item; });
    }
    if (const auto* dictionary = value.dictionary()) {
      return visitOnce(dictionary, *dictionary,
                       [](const auto& entry) -> auto& { return entry.second; });
    }
    hasNull |= value.isNull();
    hasNotANumber |=
        std::isnan(value.real().value_or(0)) ||
        std::isnan(value.date().value_or(PropertyListDate()).secondsSinceReferenceDate);
    return {};
  }

  bool hasNull = false;
  bool hasSet = false;
  bool hasNotANumber = false;

 private:
  template <typename Members, typename ValueOf>
  Extent visitOnce(const void* container, const Members& members, ValueOf valueOf) {
    if (const auto known = extents_.find(container); known != extents_.end()) {
      return known->second;
    }
    Extent whole;
    for (const auto& member : members) {
      const Extent inside = visit(valueOf(member));
      whole.height = std::max(whole.height, inside.height);
      whole.unfolded += inside.unfolded;
    }
    ++whole.height;
    return extents_[container] = whole;
  }

  std::unordered_map<const void*, Extent> extents_;
};

PropertyListDictionary dictionaryAround(const PropertyListValue& value) {
  const auto* const dictionary = value.dictionary();
  return dictionary != nullptr ? *dictionary : PropertyListDictionary{{Text("value"), value}};
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

/// `isComparable` is false for a value that equality cannot tell: the bytes must do.
void requireSameAgain(const PropertyListDictionary& root, bool isComparable, const Data& bytes) {
  const LinuxPropertyListSerialization serialization;
  const auto again = serialization.decode(bytes);
  require(again.has_value(), "what was written can be read");
  require(again->dictionary() != nullptr, "a dictionary reads as a dictionary");
  require(!isComparable || *again->dictionary() == root, "what was read is what was written");
  require(serialization.encodeBinary(*again->dictionary()) == bytes,
          "what was read is written as the same bytes");
}

void requireDescription(const PropertyListError& error) {
  require(!error.localizedDescription.value_or("").empty(), "an error has a description");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* first, std::size_t size) {
  const LinuxPropertyListSerialization serialization;
  // The bytes are released before the value is looked at: it must keep those that it shares.
  const auto value = serialization.decode(fuzz::exactCopyOf(std::span(first, size)));
  if (!value) {
    requireDescription(value.error());
    return 0;
  }
  require(Walk().visit(*value).height <= MaxPropertyListNesting,
          "no reader goes beyond the limit of nesting");

  const PropertyListDictionary root = dictionaryAround(*value);
  Walk walk;
  const auto [height, unfolded] = walk.visit(root);
  const bool canBeWritten = !walk.hasNull && !walk.hasSet && height <= MaxPropertyListNesting;
  const auto bytes = serialization.encodeBinary(root);
  require(bytes.has_value() == canBeWritten, "only null, a set and too deep a nesting are refused");
  if (!bytes) {
    requireDescription(bytes.error());
    return 0;
  }
  require(serialization.encodeBinary(root) == *bytes, "writing again gives the same bytes");
  requireTightLayout(*bytes);
  // NaN equals nothing, and equality goes every way to a shared value.
  constexpr double MaxCompared = 1'000'000;
  requireSameAgain(root, !walk.hasNotANumber && unfolded <= MaxCompared, *bytes);
  return 0;
}
