#include "platform/linux/propertylist/BinaryPropertyListWriter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <map>
#include <memory_resource>
#include <optional>
#include <ranges>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/linux/propertylist/BinaryPropertyListFormat.h"
#include "platform/linux/propertylist/Unicode.h"

namespace korvan {
namespace {

namespace format = binaryPropertyList;

enum class Kind : std::uint8_t {
  boolean,
  integer,
  largeInteger,
  real,
  date,
  uid,
  text,
  data,
  array,
  dictionary,
};

/// One object of the stream. What it points at belongs to the values that are being written.
struct Object {
  Kind kind = Kind::boolean;
  /// Of a container: the containers inside one another from this one on.
  std::uint16_t height = 0;
  std::uint32_t hash = 0;
  /// The bytes of a text or data; of a container, the container itself as its identity.
  const void* first = nullptr;
  /// The bytes of a text or data, the items of a container.
  std::size_t size = 0;
  /// The bits of a number; of a text its UTF-16 units, or 0 when it is ASCII; of a container the
  /// place of its first reference.
  std::uint64_t number = 0;

  [[nodiscard]] std::string_view bytes() const { return {static_cast<const char*>(first), size}; }
};

std::uint64_t wordAt(const char* first) {
  std::uint64_t word = 0;
  std::memcpy(&word, first, sizeof word);
  return word;
}

/// A number that each bit of both has a part in.
std::uint64_t mixed(std::uint64_t left, std::uint64_t right) {
  __extension__ using Wide = unsigned __int128;
  const Wide product = Wide{left ^ 0x9E3779B97F4A7C15} * (right ^ 0xC2B2AE3D27D4EB4F);
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

/// The hash of at most eight bytes.
std::uint64_t hashOfFew(std::uint64_t seed, std::string_view bytes) {
  std::uint64_t word = 0;
  for (const char byte : bytes) {
    word = (word << 8) | static_cast<std::uint8_t>(byte);
  }
  return mixed(seed, word);
}

std::uint64_t hashOfBytes(std::string_view bytes) {
  constexpr std::size_t WordSize = sizeof(std::uint64_t);
  const std::size_t size = bytes.size();
  if (size < WordSize) {
    return hashOfFew(size, bytes);
  }
  const char* const first = bytes.data();
  constexpr std::size_t BlockSize = 2 * WordSize;
  if (size <= BlockSize) {
    return mixed(wordAt(first) + size, wordAt(first + size - WordSize));
  }
  const auto hashOfBlockAt = [=](std::size_t offset) {
    return mixed(wordAt(first + offset) + offset, wordAt(first + offset + WordSize));
  };
  // Identifiers and hashes.
  if (size <= 2 * BlockSize) {
    return size + hashOfBlockAt(0) + hashOfBlockAt(size - BlockSize);
  }
  // The ends of long ones tell them apart well enough, and cost the same for 4 MiB as for 128.
  constexpr std::size_t EndSize = 64;
  const std::size_t headSize = std::min(EndSize, size - BlockSize);
  const std::size_t tailSize = std::min(EndSize, size - headSize);
  std::uint64_t hash = size;
  for (std::size_t offset = 0; offset < headSize; offset += BlockSize) {
    hash ^= hashOfBlockAt(offset);
  }
  for (std::size_t done = 0; done < tailSize; done += BlockSize) {
    hash ^= hashOfBlockAt(size - BlockSize - done);
  }
  return hash;
}

/// The distinct objects in the order in which they were first met.
class ObjectTable {
 public:
  /// Where an object is. The greatest value is never one.
  using Index = std::uint32_t;

  explicit ObjectTable(std::pmr::memory_resource& memory)
      : objects_(&memory), slots_(InitialSlots, EmptySlot, &memory) {
    objects_.reserve(InitialSlots / 2);
  }

  /// Where an object is, and whether it was appended for that.
  struct Insertion {
    Index index = 0;
    bool isNew = false;
  };

  // An object is appended when there is none like it yet.

  Insertion insertBytes(Kind kind, std::string_view bytes) {
    const auto isSame = [=](const Object& other) {
      return other.kind == kind && other.bytes() == bytes;
    };
    return insert({.kind = kind, .first = bytes.data(), .size = bytes.size()}, hashOfBytes(bytes),
                  isSame);
  }

  Insertion insertNumber(Kind kind, std::uint64_t bits) {
    const auto isSame = [=](const Object& other) {
      return other.kind == kind && other.number == bits;
    };
    return insert({.kind = kind, .number = bits}, mixed(std::to_underlying(kind), bits), isSame);
  }

  Insertion insertContainer(Kind kind, const void* container, std::size_t size) {
    const auto isSame = [=](const Object& other) {
      return other.kind == kind && other.first == container;
    };
    return insert({.kind = kind, .first = container, .size = size},
                  mixed(std::bit_cast<std::uintptr_t>(container), 0), isSame);
  }

  /// Makes room for `count` new objects in one go.
  void reserve(std::size_t count) {
    const std::size_t needed = objects_.size() + count;
    if (needed > objects_.capacity()) {
      // At least doubled, since many small requests must not copy everything each time; with room
      // for what comes after a large one, which must not copy it either.
      objects_.reserve(std::max(needed + RoomAfter, 2 * objects_.capacity()));
    }
    if (2 * needed > slots_.size()) {
      resize(std::bit_ceil(2 * needed));
    }
  }

  [[nodiscard]] std::size_t size() const { return objects_.size(); }
  Object& operator[](std::size_t index) { return objects_[index]; }
  [[nodiscard]] std::span<const Object> all() const { return objects_; }

 private:
  /// An object's index plus one, or `EmptySlot`.
  using Slot = Index;
  /// What objects are told apart by, in an order.
  using Order = std::tuple<Kind, std::uint64_t, const void*, std::string_view>;

  static constexpr std::size_t InitialSlots = 128;
  static constexpr std::size_t RoomAfter = 32;
  static constexpr std::size_t MaxProbes = 16;
  static constexpr Slot EmptySlot = 0;
  /// At most half of the slots are taken, so that every index fits in one.
  static constexpr std::size_t MaxSlots = std::size_t{1} << 32;

  static Order orderOf(const Object& object) {
    switch (object.kind) {
      case Kind::text:
      case Kind::data:
        return {object.kind, object.size, nullptr, object.bytes()};
      case Kind::array:
      case Kind::dictionary:
        return {object.kind, 0, object.first, {}};
      default:
        return {object.kind, object.number, nullptr, {}};
    }
  }

  template <typename IsSame>
  Insertion insert(const Object& object, std::uint64_t wideHash, IsSame isSame) {
    const std::size_t count = objects_.size();
    if (count * 2 >= slots_.size()) {
      resize(slots_.size() * 4);
    }
    const auto hash = static_cast<std::uint32_t>(wideHash);
    for (std::size_t probe = 0; probe < MaxProbes; ++probe) {
      Slot& slot = slotFor(hash, probe);
      if (slot == EmptySlot) {
        slot = static_cast<Slot>(count + 1);
        append(object, hash);
        return {.index = slot - 1, .isNew = true};
      }
      const Object& other = objects_[slot - 1];
      if (other.hash == hash && isSame(other)) {
        return {.index = slot - 1, .isNew = false};
      }
    }
    return insertCrowded(object, hash);
  }

  [[gnu::cold]] Insertion insertCrowded(const Object& object, std::uint32_t hash) {
    const auto [place, isNew] =
        crowded_.try_emplace(orderOf(object), static_cast<Index>(objects_.size()));
    if (isNew) {
      append(object, hash);
    }
    return {.index = place->second, .isNew = isNew};
  }

  void append(const Object& object, std::uint32_t hash) {
    objects_.emplace_back(object.kind, object.height, hash, object.first, object.size,
                          object.number);
  }

  Slot& slotFor(std::uint32_t hash, std::size_t probe) {
    return slots_[(hash + probe) & (slots_.size() - 1)];
  }

  [[gnu::noinline]] void resize(std::size_t slots) {
    if (slots > MaxSlots) {
      throw std::length_error("A property list of so many objects cannot be written.");
    }
    slots_.assign(slots, EmptySlot);
    for (std::size_t index = 0; index < objects_.size(); ++index) {
      place(index);
    }
  }

  void place(std::size_t index) {
    for (std::size_t probe = 0; probe < MaxProbes; ++probe) {
      Slot& slot = slotFor(objects_[index].hash, probe);
      if (slot == EmptySlot) {
        slot = static_cast<Slot>(index + 1);
        return;
      }
    }
    crowded_.emplace(orderOf(objects_[index]), static_cast<Index>(index));
  }

  std::pmr::vector<Object> objects_;
  std::pmr::vector<Slot> slots_;
  /// Whatever found all its slots taken. A relying party chooses the values, and could choose ones
  /// that collide: in here that costs them a logarithm and no more.
  std::map<Order, Index> crowded_;
};

/// How many UTF-16 units the text takes; none when it is not UTF-8.
std::optional<std::uint64_t> utf16UnitsOf(std::string_view utf8) {
  std::uint64_t units = 0;
  while (!utf8.empty()) {
    const auto codePoint = unicode::takeUtf8(utf8);
    if (!codePoint) {
      return std::nullopt;
    }
    units += *codePoint < 0x10000 ? 1 : 2;
  }
  return units;
}

std::string_view viewOf(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Turns values into objects that refer to one another by number.
class Flattener {
 public:
  explicit Flattener(std::pmr::memory_resource& memory) : objects_(memory), references_(&memory) {
    references_.reserve(64);
  }

  /// False when `root` cannot be written; error() then says why.
  bool flatten(const PropertyListDictionary& root) { return addDictionary(root) != NoReference; }

  [[nodiscard]] PropertyListError error() const {
    const std::string place = path_.empty() ? "the root" : '"' + pathText() + '"';
    return {std::string(subject_) + ' ' + place + predicate_};
  }

  [[nodiscard]] std::span<const Object> objects() const { return objects_.all(); }
  [[nodiscard]] std::span<const ObjectTable::Index> references() const { return references_; }

 private:
  /// The index of an object, or `NoReference` when there was a problem.
  using Reference = ObjectTable::Index;
  static constexpr Reference NoReference = std::numeric_limits<Reference>::max();

  /// One step of a path: into a dictionary by key, or into an array by index.
  struct Step {
    const Text* key = nullptr;
    std::size_t index = 0;
  };

  Reference add(const PropertyListValue& value) {
    if (const auto* text = value.text()) {
      return addText(text->view());
    }
    if (const auto* data = value.data()) {
      return objects_.insertBytes(Kind::data, viewOf(data->bytes())).index;
    }
    if (const auto* array = value.array()) {
      return addArray(*array);
    }
    if (const auto* dictionary = value.dictionary()) {
      return addDictionary(*dictionary);
    }
    return addNumber(value);
  }

  Reference addNumber(const PropertyListValue& value) {
    if (const auto boolean = value.boolean()) {
      return objects_.insertNumber(Kind::boolean, *boolean ? 1 : 0).index;
    }
    if (const auto integer = value.integer()) {
      return objects_.insertNumber(Kind::integer, static_cast<std::uint64_t>(*integer)).index;
    }
    if (const auto integer = value.largeInteger()) {
      return objects_.insertNumber(Kind::largeInteger, *integer).index;
    }
    if (const auto real = value.real()) {
      return objects_.insertNumber(Kind::real, std::bit_cast<std::uint64_t>(*real)).index;
    }
    if (const auto date = value.date()) {
      return objects_
          .insertNumber(Kind::date, std::bit_cast<std::uint64_t>(date->secondsSinceReferenceDate))
          .index;
    }
    if (const auto uid = value.uid()) {
      return objects_.insertNumber(Kind::uid, uid->value).index;
    }
    return fail("The value at", value.isNull() ? " is null, which a property list cannot hold."
                                               : " is a set, which a property list cannot hold.");
  }

  Reference addText(std::string_view text) {
    const auto [index, isNew] = objects_.insertBytes(Kind::text, text);
    if (isNew && !unicode::isAscii(text)) {
      const auto units = utf16UnitsOf(text);
      if (!units) {
        return fail("The text at", " is not valid UTF-8.");
      }
      objects_[index].number = *units;
    }
    return index;
  }

  Reference addArray(const PropertyListValue::Array& array) {
    const auto fill = [&](std::size_t first) {
      for (std::size_t index = 0; index < array.size(); ++index) {
        const Reference item = add(array[index]);
        if (item == NoReference) {
          path_.push_back({.index = index});
          return false;
        }
        references_[first + index] = item;
      }
      return true;
    };
    return addContainer(Kind::array, array, array.size(), fill);
  }

  Reference addDictionary(const PropertyListDictionary& dictionary) {
    const auto fill = [&](std::size_t first) {
      for (const auto& [name, member] : dictionary) {
        const Reference key = addText(name.view());
        if (key == NoReference) {
          fail("A key of the dictionary at", " is not valid UTF-8.");
          return false;
        }
        const Reference value = add(member);
        if (value == NoReference) {
          path_.push_back({.key = &name});
          return false;
        }
        references_[first] = key;
        references_[first + dictionary.size()] = value;
        ++first;
      }
      return true;
    };
    return addContainer(Kind::dictionary, dictionary, 2 * dictionary.size(), fill);
  }

  template <typename Container, typename Fill>
  Reference addContainer(Kind kind, const Container& container, std::size_t referenceCount,
                         Fill fill) {
    const auto [index, isNew] = objects_.insertContainer(kind, &container, std::size(container));
    if (isNew && !fillContainer(index, referenceCount, fill)) {
      return NoReference;
    }
    tallest_ = std::max<std::size_t>(tallest_, objects_[index].height);
    return index;
  }

  template <typename Fill>
  bool fillContainer(std::size_t index, std::size_t referenceCount, Fill fill) {
    const std::size_t first = references_.size();
    references_.resize(first + referenceCount);
    // Most items are distinct. Where they are not, this bounds the room that is made for nothing.
    constexpr std::size_t MaxReserved = 4096;
    objects_.reserve(std::min(referenceCount, MaxReserved));
    objects_[index].number = first;
    const std::size_t outerTallest = std::exchange(tallest_, 0);
    if (depth_ == MaxPropertyListNesting) {
      return failAsTooDeep();
    }
    ++depth_;
    if (!fill(first)) {
      return false;
    }
    --depth_;
    // A shared container may be written first where it is shallow: its own depth adds up as well.
    const std::size_t height = tallest_ + 1;
    if (height > MaxPropertyListNesting) {
      return failAsTooDeep();
    }
    objects_[index].height = static_cast<std::uint16_t>(height);
    tallest_ = outerTallest;
    return true;
  }

  bool failAsTooDeep() {
    static_assert(MaxPropertyListNesting == 512, "The sentence names it.");
    fail("The value at", " is part of a nesting of more than 512 arrays and dictionaries.");
    return false;
  }

  Reference fail(const char* subject, const char* predicate) {
    subject_ = subject;
    predicate_ = predicate;
    return NoReference;
  }

  [[nodiscard]] std::string pathText() const {
    constexpr std::size_t MaxSize = 200;
    std::string text;
    for (const Step& step : std::views::reverse(path_)) {
      const std::string_view key = step.key != nullptr ? step.key->view() : std::string_view();
      if (text.size() + key.size() > MaxSize) {
        return text + "...";
      }
      if (step.key == nullptr) {
        text += '[' + std::to_string(step.index) + ']';
      } else {
        text.append(text.empty() ? "" : ".").append(key);
      }
    }
    return text;
  }

  ObjectTable objects_;
  std::pmr::vector<Reference> references_;
  std::size_t depth_ = 0;
  /// The greatest height among the containers met in the container that is being filled.
  std::size_t tallest_ = 0;
  /// What is said about the problem, before and after its path.
  const char* subject_ = "";
  const char* predicate_ = "";
  /// The way to the problem, innermost step first.
  std::vector<Step> path_;
};

/// The fewest bytes that hold the number, at least one.
std::size_t widthOf(std::uint64_t number) {
  return std::max<std::size_t>(1, (static_cast<std::size_t>(std::bit_width(number)) + 7) / 8);
}

/// The fewest bytes that an integer object can hold the number in: 1, 2, 4 or 8.
std::size_t integerWidthOf(std::uint64_t number) { return std::bit_ceil(widthOf(number)); }

std::size_t headSizeOf(std::size_t count) {
  return count < format::ExtendedCount ? 1 : 2 + integerWidthOf(count);
}

/// The object's bytes, without a container's references.
std::size_t encodedSizeOf(const Object& object) {
  switch (object.kind) {
    case Kind::boolean:
      return 1;
    case Kind::integer:
    case Kind::uid:
      return 1 + integerWidthOf(object.number);
    case Kind::largeInteger:
      return 1 + (2 * sizeof object.number);
    case Kind::real:
    case Kind::date:
      return 1 + sizeof object.number;
    case Kind::text:
      return object.number == 0 ? headSizeOf(object.size) + object.size
                                : headSizeOf(object.number) + (2 * object.number);
    case Kind::data:
      return headSizeOf(object.size) + object.size;
    case Kind::array:
    case Kind::dictionary:
      return headSizeOf(object.size);
  }
  return 0;
}

/// Where everything goes, known before the first byte is written.
struct Layout {
  std::size_t tableOffset = format::Magic.size();
  std::size_t referenceWidth = 1;
  std::size_t offsetWidth = 1;
  std::size_t size = 0;
};

Layout layoutOf(const Flattener& flat) {
  Layout layout;
  const std::size_t count = flat.objects().size();
  // The originator's reader wants the widths to hold the number of objects and the table's offset,
  // which are one past what has to be written in them.
  layout.referenceWidth = widthOf(count);
  for (const Object& object : flat.objects()) {
    layout.tableOffset += encodedSizeOf(object);
  }
  layout.tableOffset += flat.references().size() * layout.referenceWidth;
  layout.offsetWidth = widthOf(layout.tableOffset);
  layout.size = layout.tableOffset + (count * layout.offsetWidth) + format::TrailerSize;
  return layout;
}

/// Writes into bytes that the layout has measured, so without a check of its own.
class Output {
 public:
  explicit Output(std::span<std::uint8_t> bytes) : first_(bytes.data()), next_(bytes.data()) {}

  [[nodiscard]] std::size_t offset() const { return static_cast<std::size_t>(next_ - first_); }

  void byte(std::uint64_t value) { *next_++ = static_cast<std::uint8_t>(value); }

  /// A number of eight bytes.
  void word(std::uint64_t value) {
    if constexpr (std::endian::native == std::endian::little) {
      value = std::byteswap(value);
    }
    std::memcpy(next_, &value, sizeof value);
    next_ += sizeof value;
  }

  void number(std::uint64_t value, std::size_t width) {
    // Nearly all references and offsets of messages.
    if (width == 1) {
      return byte(value);
    }
    if (width == 2) {
      return several(value >> 8, value);
    }
    for (std::size_t shift = width * 8; shift > 0;) {
      shift -= 8;
      byte(value >> shift);
    }
  }

  void bytes(std::string_view value) {
    constexpr std::size_t BlockSize = 16;
    const std::size_t size = value.size();
    if (size >= BlockSize && size <= 2 * BlockSize) {
      // Identifiers and hashes: two blocks that may overlap cost less than a call.
      std::memcpy(next_, value.data(), BlockSize);
      std::memcpy(next_ + size - BlockSize, value.data() + size - BlockSize, BlockSize);
    } else if (size != 0) {
      std::memcpy(next_, value.data(), size);
    }
    next_ += size;
  }

  void integer(std::uint64_t value) {
    const std::size_t width = integerWidthOf(value);
    byte(format::IntegerMarker | static_cast<std::size_t>(std::countr_zero(width)));
    number(value, width);
  }

  void head(std::uint8_t marker, std::size_t count) {
    if (count < format::ExtendedCount) {
      byte(marker | count);
    } else if (count <= 0xFF) {
      several(marker | format::ExtendedCount, format::IntegerMarker, count);
    } else {
      byte(marker | format::ExtendedCount);
      integer(count);
    }
  }

  void utf16(std::string_view utf8) {
    while (!utf8.empty()) {
      const char32_t codePoint = unicode::takeUtf8(utf8).value_or(0);
      if (codePoint < 0x10000) {
        number(codePoint, 2);
      } else {
        number(0xD800 + ((codePoint - 0x10000) >> 10), 2);
        number(0xDC00 + (codePoint & 0x3FF), 2);
      }
    }
  }

 private:
  /// Bytes in one go: one after another, each would wait for where the one before it ended.
  void several(std::convertible_to<std::uint64_t> auto... values) {
    const std::array bytes = {static_cast<std::uint8_t>(values)...};
    std::memcpy(next_, bytes.data(), bytes.size());
    next_ += bytes.size();
  }

  std::uint8_t* first_;
  std::uint8_t* next_;
};

void writeReferences(Output& output, std::span<const ObjectTable::Index> references,
                     std::size_t width) {
  for (const ObjectTable::Index reference : references) {
    output.number(reference, width);
  }
}

void writeText(Output& output, const Object& text) {
  if (text.number == 0) {
    output.head(format::AsciiMarker, text.size);
    output.bytes(text.bytes());
  } else {
    output.head(format::Utf16Marker, text.number);
    output.utf16(text.bytes());
  }
}

void writeObject(Output& output, const Object& object, const Flattener& flat,
                 std::size_t referenceWidth) {
  const auto references = [&](std::size_t count) {
    writeReferences(output, flat.references().subspan(object.number, count), referenceWidth);
  };
  switch (object.kind) {
    case Kind::boolean:
      return output.byte(object.number != 0 ? format::TrueMarker : format::FalseMarker);
    case Kind::integer:
      return output.integer(object.number);
    case Kind::largeInteger:
      output.byte(format::IntegerMarker | 4U);
      output.word(0);
      return output.word(object.number);
    case Kind::real:
      output.byte(format::RealMarker | 3U);
      return output.word(object.number);
    case Kind::date:
      output.byte(format::DateMarker);
      return output.word(object.number);
    case Kind::uid:
      output.byte(format::UidMarker | (integerWidthOf(object.number) - 1));
      return output.number(object.number, integerWidthOf(object.number));
    case Kind::text:
      return writeText(output, object);
    case Kind::data:
      output.head(format::DataMarker, object.size);
      return output.bytes(object.bytes());
    case Kind::array:
      output.head(format::ArrayMarker, object.size);
      return references(object.size);
    case Kind::dictionary:
      output.head(format::DictionaryMarker, object.size);
      return references(2 * object.size);
  }
}

void writeTrailer(Output& output, const Layout& layout, std::size_t objectCount) {
  // Six unused bytes and the two widths.
  output.word(layout.offsetWidth << 8 | layout.referenceWidth);
  output.word(objectCount);
  output.word(0);  // The root was the first object met.
  output.word(layout.tableOffset);
}

Data assemble(const Flattener& flat) {
  const Layout layout = layoutOf(flat);
  std::vector<std::uint8_t> bytes(layout.size);
  const std::span<std::uint8_t> all(bytes);
  Output output(all);
  Output table(all.subspan(layout.tableOffset));
  output.bytes(format::Magic);
  for (const Object& object : flat.objects()) {
    table.number(output.offset(), layout.offsetWidth);
    writeObject(output, object, flat, layout.referenceWidth);
  }
  writeTrailer(table, layout, flat.objects().size());
  return bytes;
}

}  // namespace

std::expected<Data, PropertyListError> BinaryPropertyListWriter::write(
    const PropertyListDictionary& root) {
  // Enough for the requests of everyday without going to the heap.
  std::array<std::byte, 6144> buffer;
  std::pmr::monotonic_buffer_resource memory(buffer.data(), buffer.size());
  Flattener flat(memory);
  if (!flat.flatten(root)) {
    return std::unexpected(flat.error());
  }
  return assemble(flat);
}

}  // namespace korvan
