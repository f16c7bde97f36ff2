#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory_resource>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/linux/propertylist/BinaryPropertyListFormat.h"
#include "platform/linux/propertylist/PropertyListCharacters.h"
#include "platform/linux/propertylist/PropertyListFormats.h"
#include "platform/linux/propertylist/Unicode.h"

namespace korvan {
namespace {

namespace format = binaryPropertyList;

/// The fewest bytes that hold the number, at least one.
std::size_t widthOf(std::uint64_t number) {
  return std::max<std::size_t>(1, (static_cast<std::size_t>(std::bit_width(number)) + 7) / 8);
}

using Bytes = std::vector<std::uint8_t>;

void append(Bytes& bytes, std::uint64_t number, std::size_t width) {
  for (std::size_t shift = 8 * width; shift > 0;) {
    shift -= 8;
    bytes.push_back(static_cast<std::uint8_t>(number >> shift));
  }
}

void append(Bytes& bytes, std::string_view text) {
  const auto* const first = reinterpret_cast<const std::uint8_t*>(text.data());
  bytes.insert(bytes.end(), first, first + text.size());
}

/// An object of the stream, without a container's references.
struct Object {
  /// The object's first byte, without the count or width in its low half.
  std::uint8_t marker = 0;
  /// A number's bits, or a container's members.
  std::uint64_t number = 0;
  /// Of data and text, which belong to the value; a text's are UTF-8.
  std::string_view bytes;
  friend bool operator==(const Object&, const Object&) = default;
};

constexpr std::uint8_t LargeIntegerMarker = format::IntegerMarker | 4;
constexpr std::uint8_t LargeRealMarker = format::RealMarker | 3;

/// A polynomial over the object, at a secret point below 2^61. Others choose a message's values,
/// and must not be able to choose ones that collide.
struct SecretHash {
  std::uint64_t point = 0;

  std::size_t operator()(const Object& object) const {
    __extension__ using Wide = unsigned __int128;
    constexpr std::uint64_t Prime = (std::uint64_t{1} << 61) - 1;
    std::uint64_t hash = object.marker + (object.bytes.size() << 8);
    const auto add = [&](std::uint64_t word) {
      const Wide sum = (Wide{hash} * point) + word;
      hash = static_cast<std::uint64_t>(sum & Prime) + static_cast<std::uint64_t>(sum >> 61);
    };
    add(object.number);
    std::string_view bytes = object.bytes;
    std::uint64_t word = 0;
    constexpr std::size_t WordSize = 7;
    for (; bytes.size() >= WordSize; bytes.remove_prefix(WordSize)) {
      std::memcpy(&word, bytes.data(), WordSize);
      add(word);
    }
    word = 0;
    for (const char byte : bytes) {
      word = (word << 8) | static_cast<std::uint8_t>(byte);
    }
    add(word);
    return hash;
  }
};

/// The distinct objects of a property list, numbered in the order in which they are first met.
class ObjectTable {
 public:
  /// Throws PropertyListError for what cannot be written.
  ObjectTable(const PropertyListDictionary& root, std::uint64_t hashSecret)
      : leaves_(0, SecretHash{.point = hashSecret >> 3}, &memory_) {
    addDictionary(root);
  }

  struct Row {
    Object object;
    /// The numbers of an array's items, or of a dictionary's keys and then of its values.
    std::vector<std::size_t> references;
    /// How deeply containers nest from here on: 0 for a leaf, 1 for a container of leaves.
    std::size_t height = 0;
  };

  [[nodiscard]] const std::vector<Row>& rows() const { return rows_; }

 private:
  /// One step of a path: into a dictionary by key, or into an array by index.
  struct Step {
    const Text* key = nullptr;
    std::size_t index = 0;
  };

  std::size_t add(const PropertyListValue& value) {
    if (const auto* const text = value.text()) {
      return addText(*text, "The text at");
    }
    if (const auto* const data = value.data()) {
      return addLeaf(format::DataMarker, 0, viewOf(*data));
    }
    if (const auto* const array = value.array()) {
      return addArray(*array);
    }
    if (const auto* const dictionary = value.dictionary()) {
      return addDictionary(*dictionary);
    }
    return addNumber(value);
  }

  std::size_t addNumber(const PropertyListValue& value) {
    if (const auto boolean = value.boolean()) {
      return addLeaf(*boolean ? format::TrueMarker : format::FalseMarker, 0);
    }
    if (const auto integer = value.integer()) {
      return addLeaf(format::IntegerMarker, static_cast<std::uint64_t>(*integer));
    }
    if (const auto integer = value.largeInteger()) {
      return addLeaf(LargeIntegerMarker, *integer);
    }
    if (const auto real = value.real()) {
      return addLeaf(LargeRealMarker, std::bit_cast<std::uint64_t>(*real));
    }
    if (const auto date = value.date()) {
      const double seconds = date->secondsSinceReferenceDate;
      return addLeaf(format::DateMarker, std::bit_cast<std::uint64_t>(seconds));
    }
    if (const auto uid = value.uid()) {
      return addLeaf(format::UidMarker, uid->value);
    }
    fail("The value at", value.isNull() ? " is null, which a property list cannot hold."
                                        : " is a set, which a property list cannot hold.");
  }

  std::size_t addText(const Text& text, const char* subject) {
    if (isAscii(text.view())) {
      return addLeaf(format::AsciiMarker, 0, text.view());
    }
    if (!utf16OfUtf8(text.view())) {
      fail(subject, " is not valid UTF-8.");
    }
    return addLeaf(format::Utf16Marker, 0, text.view());
  }

  std::size_t addLeaf(std::uint8_t marker, std::uint64_t number, std::string_view bytes = {}) {
    const Object leaf{.marker = marker, .number = number, .bytes = bytes};
    const auto [known, isNew] = leaves_.try_emplace(leaf, rows_.size());
    if (isNew) {
      rows_.emplace_back().object = leaf;
    }
    return known->second;
  }

  std::size_t addArray(const PropertyListValue::Array& array) {
    const auto addMembers = [&](std::vector<std::size_t>& references) {
      references.reserve(array.size());
      // At least doubles the room, so that many small arrays do not grow it step by step.
      if (array.size() > rows_.size()) {
        rows_.reserve(rows_.size() + array.size());
        leaves_.reserve(leaves_.size() + array.size());
      }
      for (std::size_t index = 0; index < array.size(); ++index) {
        path_.push_back({.index = index});
        references.push_back(add(array[index]));
        path_.pop_back();
      }
    };
    return addContainer(&array, format::ArrayMarker, array.size(), addMembers);
  }

  std::size_t addDictionary(const PropertyListDictionary& dictionary) {
    const auto addMembers = [&](std::vector<std::size_t>& references) {
      std::vector<std::size_t> values;
      for (const auto& [key, value] : dictionary) {
        references.push_back(addText(key, "A key of the dictionary at"));
        path_.push_back({.key = &key});
        values.push_back(add(value));
        path_.pop_back();
      }
      references.insert(references.end(), values.begin(), values.end());
    };
    return addContainer(&dictionary, format::DictionaryMarker, dictionary.size(), addMembers);
  }

  template <typename AddMembers>
  std::size_t addContainer(const void* identity, std::uint8_t marker, std::size_t size,
                           AddMembers addMembers) {
    const std::size_t next = rows_.size();
    const auto [known, isNew] = containers_.try_emplace(identity, next);
    if (!isNew) {
      return known->second;
    }
    rows_.emplace_back().object = {.marker = marker, .number = size, .bytes = {}};
    checkNesting(++nesting_);
    std::vector<std::size_t> references;
    addMembers(references);
    --nesting_;
    // A shared container may be met first where it is shallow: its own height adds up as well.
    std::size_t height = 0;
    for (const std::size_t member : references) {
      height = std::max(height, rows_[member].height);
    }
    checkNesting(++height);
    rows_[next].references = std::move(references);
    rows_[next].height = height;
    return next;
  }

  void checkNesting(std::size_t nesting) const {
    if (nesting > MaxPropertyListNesting) {
      fail("The value at", " is part of a nesting of more than " +
                               std::to_string(MaxPropertyListNesting) +
                               " arrays and dictionaries.");
    }
  }

  [[noreturn]] void fail(const std::string& subject, const std::string& predicate) const {
    const std::string place = path_.empty() ? "the root" : '"' + pathText() + '"';
    throw PropertyListError{subject + ' ' + place + predicate};
  }

  [[nodiscard]] std::string pathText() const {
    constexpr std::size_t MaxSize = 200;
    std::string text;
    for (const Step& step : path_) {
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

  std::vector<Row> rows_;
  /// The maps' nodes go together, with the table.
  std::pmr::monotonic_buffer_resource memory_;
  std::pmr::unordered_map<Object, std::size_t, SecretHash> leaves_;
  /// Containers are told apart by where they are in memory.
  std::pmr::unordered_map<const void*, std::size_t> containers_{&memory_};
  std::size_t nesting_ = 0;
  /// The way to the value that is being added.
  std::vector<Step> path_;
};

/// An integer or a UID, in 1, 2, 4 or 8 bytes.
void appendNumber(Bytes& bytes, std::uint8_t marker, std::uint64_t number) {
  const std::size_t width = std::bit_ceil(widthOf(number));
  const std::size_t logarithm = static_cast<unsigned>(std::countr_zero(width));
  append(bytes, marker | (marker == format::UidMarker ? width - 1 : logarithm), 1);
  append(bytes, number, width);
}

void appendHead(Bytes& bytes, std::uint8_t marker, std::size_t count) {
  if (count < format::ExtendedCount) {
    append(bytes, marker | count, 1);
  } else {
    append(bytes, marker | format::ExtendedCount, 1);
    appendNumber(bytes, format::IntegerMarker, count);
  }
}

void appendObject(Bytes& bytes, const Object& object) {
  switch (object.marker) {
    case format::FalseMarker:
    case format::TrueMarker:
      return append(bytes, object.marker, 1);
    case format::IntegerMarker:
    case format::UidMarker:
      return appendNumber(bytes, object.marker, object.number);
    case LargeIntegerMarker:
    case LargeRealMarker:
    case format::DateMarker:
      append(bytes, object.marker, 1);
      append(bytes, 0, object.marker == LargeIntegerMarker ? 8 : 0);
      return append(bytes, object.number, 8);
    case format::Utf16Marker: {
      const std::string utf16 = utf16OfUtf8(object.bytes).value_or("");
      appendHead(bytes, object.marker, utf16.size() / 2);
      append(bytes, utf16);
      return;
    }
    case format::ArrayMarker:
    case format::DictionaryMarker:
      return appendHead(bytes, object.marker, object.number);
    default:
      appendHead(bytes, object.marker, object.bytes.size());
      append(bytes, object.bytes);
  }
}

Data assembled(const std::vector<ObjectTable::Row>& rows) {
  // The originator's reader wants the widths to hold the number of objects and the table's offset,
  // which are one past what has to be written in them.
  const std::size_t referenceWidth = widthOf(rows.size());
  Bytes bytes(format::Magic.begin(), format::Magic.end());
  std::size_t roughSize = 0;
  for (const ObjectTable::Row& row : rows) {
    roughSize += 8 + row.object.bytes.size() + (2 * row.references.size());
  }
  bytes.reserve(roughSize);
  std::vector<std::size_t> offsets;
  offsets.reserve(rows.size());
  for (const ObjectTable::Row& row : rows) {
    offsets.push_back(bytes.size());
    appendObject(bytes, row.object);
    for (const std::size_t reference : row.references) {
      append(bytes, reference, referenceWidth);
    }
  }
  const std::size_t tableOffset = bytes.size();
  const std::size_t offsetWidth = widthOf(tableOffset);
  for (const std::size_t offset : offsets) {
    append(bytes, offset, offsetWidth);
  }
  // The trailer: six unused bytes and the two widths, the number of objects, the top object, which
  // was met first, and the table's offset.
  append(bytes, offsetWidth << 8 | referenceWidth, 8);
  append(bytes, rows.size(), 8);
  append(bytes, 0, 8);
  append(bytes, tableOffset, 8);
  return bytes;
}

}  // namespace

std::expected<Data, PropertyListError> writeBinaryPropertyList(const PropertyListDictionary& root,
                                                               std::uint64_t hashSecret) {
  try {
    return assembled(ObjectTable(root, hashSecret).rows());
  } catch (PropertyListError& error) {
    return std::unexpected(std::move(error));
  }
}

}  // namespace korvan
