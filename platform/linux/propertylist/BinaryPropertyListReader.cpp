#include "platform/linux/propertylist/BinaryPropertyListReader.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>
#include <limits>
#include <optional>
#include <ranges>
#include <span>
#include <utility>
#include <vector>

#include "platform/linux/propertylist/BinaryPropertyListFormat.h"
#include "platform/linux/propertylist/Unicode.h"

namespace korvan {
namespace {

namespace format = binaryPropertyList;

constexpr std::size_t MaxWidth = sizeof(std::uint64_t);

[[gnu::cold]] std::string counted(std::uint64_t count, std::string_view thing) {
  return std::to_string(count) + ' ' + std::string(thing) + (count == 1 ? "" : "s");
}

}  // namespace

struct BinaryPropertyListReader::Key {
  /// Where an ASCII key's bytes are, and how many.
  std::size_t contents = 0;
  std::size_t size = 0;
  /// Of a converted key, the place in `stored_` plus one.
  std::size_t stored = 0;
  std::size_t valuePlace = 0;
};

bool BinaryPropertyListReader::recognizes(const Data& bytes) noexcept {
  const std::string_view name = format::Magic.substr(0, format::NameSize);
  return bytes.size() >= name.size() &&
         std::memcmp(bytes.bytes().data(), name.data(), name.size()) == 0;
}

std::expected<PropertyListValue, PropertyListError> BinaryPropertyListReader::read(
    const Data& bytes) {
  BinaryPropertyListReader reader(bytes);
  if (reader.readTrailer()) {
    constexpr std::size_t TopFromEnd = 16;
    auto top = reader.readObject(bytes.size() - TopFromEnd, reader.top_);
    if (!reader.hasFailed()) {
      return top;
    }
  }
  return std::unexpected(PropertyListError{std::move(reader.error_)});
}

BinaryPropertyListReader::BinaryPropertyListReader(const Data& bytes) noexcept
    : bytes_(bytes), first_(bytes.bytes().data()) {}

bool BinaryPropertyListReader::readTrailer() {
  constexpr std::size_t LeastSize = format::Magic.size() + format::TrailerSize;
  if (bytes_.size() < LeastSize) {
    return fail(bytes_.size(), "it ends before its trailer is complete");
  }
  if (viewAt(0, format::Magic.size()) != format::Magic) {
    return fail(0, "it does not begin with \"bplist00\"");
  }
  const std::size_t trailer = bytes_.size() - format::TrailerSize;
  offsetWidth_ = first_[trailer + 6];
  referenceWidth_ = first_[trailer + 7];
  objectCount_ = wordAt(trailer + 8);
  top_ = wordAt(trailer + 16);
  const std::uint64_t tableOffset = wordAt(trailer + 24);
  if (offsetWidth_ < 1 || offsetWidth_ > MaxWidth) {
    return fail(trailer + 6, "an offset cannot be " + counted(offsetWidth_, "byte") + " wide");
  }
  if (referenceWidth_ < 1 || referenceWidth_ > MaxWidth) {
    return fail(trailer + 7, "a reference cannot be " + counted(referenceWidth_, "byte") + " wide");
  }
  if (tableOffset < format::Magic.size() || tableOffset > trailer) {
    return fail(trailer + 24, "the offset table cannot begin at " + std::to_string(tableOffset));
  }
  tableOffset_ = tableOffset;
  // By division, so that no count is too large to be checked.
  const std::size_t tableSize = trailer - tableOffset_;
  if (tableSize % offsetWidth_ != 0 || objectCount_ != tableSize / offsetWidth_) {
    return fail(trailer + 8, "the offset table's " + counted(tableSize, "byte") +
                                 " do not hold one offset each for " +
                                 counted(objectCount_, "object"));
  }
  if (objectCount_ >= std::numeric_limits<std::uint32_t>::max() - FirstStored) {
    return fail(trailer + 8, counted(objectCount_, "object") + " are more than can be read");
  }
  unclaimed_ = tableOffset_ - format::Magic.size();
  progress_.resize(objectCount_);
  return true;
}

// All that it takes to read a key or a small value is compiled into one piece. Containers stay out
// of it: each that is inside another takes a frame of the stack.
[[gnu::flatten]] PropertyListValue BinaryPropertyListReader::readObject(std::size_t referrer,
                                                                        std::uint64_t index) {
  Object object;
  if (!locate(referrer, index, object)) {
    return {};
  }
  const std::uint32_t state = progress_[object.index].state;
  if (state == Unread || state == Leaf) {
    return readNew(object);
  }
  if (state == Open) {
    failForCycle(referrer, object);
    return {};
  }
  const Stored& stored = stored_[state - FirstStored];
  tallest_ = std::max(tallest_, stored.height);
  return stored.value;
}

PropertyListValue BinaryPropertyListReader::readNew(Object& object) {
  switch (object.marker) {
    case format::IntegerMarker:
      return readInteger(object);
    case format::RealMarker:
      return readReal(object);
    case format::DateMarker & 0xF0:
      return readDate(object);
    case format::DataMarker:
      return readData(object);
    case format::AsciiMarker:
    case format::Utf16Marker:
      return readText(object);
    case format::UidMarker:
      return readUid(object);
    case format::ArrayMarker:
    case format::SetMarker:
      return readItems(object);
    case format::DictionaryMarker:
      return readDictionary(object);
    default:
      return readSingleByte(object);
  }
}

PropertyListValue BinaryPropertyListReader::readSingleByte(const Object& object) {
  claim(object, 0);
  const auto byte = static_cast<std::uint8_t>(object.marker | object.detail);
  if (byte == format::FalseMarker || byte == format::TrueMarker) {
    return byte == format::TrueMarker;
  }
  if (byte != format::NullMarker) {
    fail(object.offset, "no kind of object begins with the byte " + std::to_string(byte));
  }
  return {};
}

PropertyListValue BinaryPropertyListReader::readInteger(const Object& object) {
  constexpr std::uint8_t LargestDetail = 4;
  const std::size_t width = std::size_t{1} << object.detail;
  if (object.detail > LargestDetail) {
    failForWidth(object, "an integer", width);
    return {};
  }
  if (!claim(object, width)) {
    return {};
  }
  if (width < MaxWidth) {
    return numberAt(object.contents, width);
  }
  const auto number = static_cast<std::int64_t>(wordAt(object.contents));
  return width == MaxWidth ? PropertyListValue(number) : readWideInteger(object);
}

PropertyListValue BinaryPropertyListReader::readWideInteger(const Object& object) {
  const std::uint64_t high = wordAt(object.contents);
  const std::uint64_t low = wordAt(object.contents + MaxWidth);
  const auto negative = static_cast<std::int64_t>(low);
  if (high == 0) {
    return low;
  }
  if (high != std::numeric_limits<std::uint64_t>::max() || negative >= 0) {
    fail(object.offset, "an integer does not fit in 64 bits");
  }
  return negative;
}

PropertyListValue BinaryPropertyListReader::readReal(const Object& object) {
  const std::size_t width = std::size_t{1} << object.detail;
  if (width != sizeof(float) && width != sizeof(double)) {
    failForWidth(object, "a real number", width);
    return {};
  }
  if (!claim(object, width)) {
    return {};
  }
  const std::uint64_t bits = numberAt(object.contents, width);
  return width == sizeof(double) ? std::bit_cast<double>(bits)
                                 : double{std::bit_cast<float>(static_cast<std::uint32_t>(bits))};
}

PropertyListValue BinaryPropertyListReader::readDate(const Object& object) {
  const std::size_t width = std::size_t{1} << object.detail;
  if (width != sizeof(double)) {
    failForWidth(object, "a date", width);
    return {};
  }
  if (!claim(object, width)) {
    return {};
  }
  return PropertyListDate{std::bit_cast<double>(numberAt(object.contents, width))};
}

PropertyListValue BinaryPropertyListReader::readUid(const Object& object) {
  const std::size_t width = std::size_t{object.detail} + 1;
  if (width > MaxWidth) {
    failForWidth(object, "a UID", width);
    return {};
  }
  if (!claim(object, width)) {
    return {};
  }
  return PropertyListUid{numberAt(object.contents, width)};
}

PropertyListValue BinaryPropertyListReader::readData(Object& object) {
  if (!claimCounted(object, 1)) {
    return {};
  }
  return bytes_.slice(object.contents, object.count);
}

PropertyListValue BinaryPropertyListReader::readText(Object& object) {
  if (object.marker == format::Utf16Marker) {
    return readUtf16(object);
  }
  if (!openAscii(object)) {
    return {};
  }
  return Text(bytes_.slice(object.contents, object.count));
}

bool BinaryPropertyListReader::openAscii(Object& object) {
  const bool isNew = progress_[object.index].state == Unread;
  if (!claimCounted(object, 1)) {
    return false;
  }
  if (isNew && !unicode::isAscii(viewAt(object.contents, object.count))) {
    return fail(object.offset, "an ASCII string holds a byte above 127");
  }
  return true;
}

[[gnu::noinline]] PropertyListValue BinaryPropertyListReader::readUtf16(Object& object) {
  const std::uint32_t state = progress_[object.index].state;
  if (state >= FirstStored) {
    return stored_[state - FirstStored].value;
  }
  if (!claimCounted(object, 2)) {
    return {};
  }
  const auto utf16 = bytes_.bytes().subspan(object.contents, 2 * object.count);
  std::size_t size = 0;
  for (auto rest = utf16; !rest.empty();) {
    const auto codePoint = unicode::takeUtf16(rest);
    if (!codePoint) {
      fail(object.contents + (utf16.size() - rest.size()),
           "a UTF-16 string holds half a surrogate pair");
      return {};
    }
    size += unicode::utf8SizeOf(*codePoint);
  }
  std::vector<std::uint8_t> utf8(size);
  std::uint8_t* next = utf8.data();
  for (auto rest = utf16; !rest.empty();) {
    unicode::putUtf8(next, unicode::takeUtf16(rest).value_or(0));
  }
  const PropertyListValue text = Text(std::move(utf8));
  store(object, text, 0);
  return text;
}

[[gnu::noinline]] PropertyListValue BinaryPropertyListReader::readItems(Object& object) {
  const std::size_t outerTallest = std::exchange(tallest_, 0);
  if (!open(object, referenceWidth_)) {
    return {};
  }
  PropertyListValue::Array items;
  items.reserve(object.count);
  for (std::size_t place = 0; place < object.count && !hasFailed(); ++place) {
    items.push_back(readObject(referrerAt(object, place), referenceAt(object, place)));
  }
  return close(object, outerTallest,
               object.marker == format::SetMarker ? PropertyListValue::setOf(std::move(items))
                                                  : PropertyListValue(std::move(items)));
}

[[gnu::noinline]] PropertyListValue BinaryPropertyListReader::readDictionary(Object& object) {
  const std::size_t outerTallest = std::exchange(tallest_, 0);
  if (!open(object, 2 * referenceWidth_)) {
    return {};
  }
  std::pmr::vector<Key> keys(&memory_);
  readKeys(object, keys);
  PropertyListDictionary dictionary;
  for (auto key = keys.begin(); key != keys.end() && !hasFailed(); ++key) {
    const std::size_t place = object.count + key->valuePlace;
    dictionary.emplace_hint(dictionary.end(), textOf(*key),
                            readObject(referrerAt(object, place), referenceAt(object, place)));
  }
  return close(object, outerTallest, std::move(dictionary));
}

void BinaryPropertyListReader::readKeys(const Object& dictionary, std::pmr::vector<Key>& keys) {
  keys.reserve(dictionary.count);
  for (std::size_t place = 0; place < dictionary.count && !hasFailed(); ++place) {
    readKey(dictionary, place, keys);
  }
  const auto orderOf = [this](const Key& left, const Key& right) {
    return viewOf(left) <=> viewOf(right);
  };
  const auto isOutOfOrder = [=](const Key& left, const Key& right) {
    return orderOf(left, right) >= 0;
  };
  // As a writer that sorts them leaves them.
  if (std::ranges::adjacent_find(keys, isOutOfOrder) == keys.end()) {
    return;
  }
  // By text; keys with the same text in the order of their places.
  const auto isBefore = [=](const Key& left, const Key& right) {
    const auto order = orderOf(left, right);
    return order < 0 || (order == 0 && left.valuePlace < right.valuePlace);
  };
  std::ranges::sort(keys, isBefore);
  const auto isRepeat = [=](const Key& left, const Key& right) {
    return orderOf(left, right) == 0;
  };
  // Of a run of equal keys the one to stay is the last, which is the first from behind.
  const auto repeats = std::ranges::unique(std::views::reverse(keys), isRepeat);
  keys.erase(keys.begin(), repeats.begin().base());
}

[[gnu::flatten]] void BinaryPropertyListReader::readKey(const Object& dictionary, std::size_t place,
                                                        std::pmr::vector<Key>& keys) {
  const std::size_t referrer = referrerAt(dictionary, place);
  Object object;
  if (!locate(referrer, referenceAt(dictionary, place), object)) {
    return;
  }
  if (object.marker != format::AsciiMarker && object.marker != format::Utf16Marker) {
    fail(referrer, "a dictionary's key is not a string");
    return;
  }
  // A key that is referred to again is found by its number: a thousand references to one long key
  // must not be sorted by comparing it a thousand times.
  Progress& progress = progress_[object.index];
  if (progress.keyOwner == dictionary.index + 1) {
    keys[progress.keyPlace].valuePlace = place;
    return;
  }
  progress.keyOwner = static_cast<std::uint32_t>(dictionary.index + 1);
  progress.keyPlace = static_cast<std::uint32_t>(keys.size());
  Key& key = keys.emplace_back();
  key.valuePlace = place;
  if (object.marker == format::AsciiMarker) {
    if (!openAscii(object)) {
      return;
    }
    key.contents = object.contents;
    key.size = object.count;
  } else {
    readUtf16(object);
    if (hasFailed()) {
      return;
    }
    key.stored = progress.state - FirstStored + 1;
  }
}

std::string_view BinaryPropertyListReader::viewAt(std::size_t offset,
                                                  std::size_t size) const noexcept {
  return {reinterpret_cast<const char*>(first_) + offset, size};
}

std::string_view BinaryPropertyListReader::viewOf(const Key& key) const noexcept {
  return key.stored == 0 ? viewAt(key.contents, key.size)
                         : stored_[key.stored - 1].value.text()->view();
}

Text BinaryPropertyListReader::textOf(const Key& key) const noexcept {
  return key.stored == 0 ? Text(bytes_.slice(key.contents, key.size))
                         : *stored_[key.stored - 1].value.text();
}

bool BinaryPropertyListReader::locate(std::size_t referrer, std::uint64_t index, Object& object) {
  if (index >= objectCount_) {
    return failForIndex(referrer, index);
  }
  const std::size_t place = tableOffset_ + (index * offsetWidth_);
  const std::uint64_t offset = numberAt(place, offsetWidth_);
  if (offset < format::Magic.size() || offset >= tableOffset_) {
    return failForOffset(place, offset);
  }
  const std::uint8_t first = first_[offset];
  object.index = index;
  object.offset = offset;
  object.marker = first & 0xF0;
  object.detail = first & 0x0F;
  object.contents = offset + 1;
  return true;
}

bool BinaryPropertyListReader::claimCounted(Object& object, std::size_t unit) {
  object.count = object.detail;
  if (object.detail == format::ExtendedCount && !readExtendedCount(object)) {
    return false;
  }
  // A count above the number of bytes cannot be right, and below it no product can overflow.
  return claim(object, object.count <= bytes_.size() ? object.count * unit : object.count);
}

bool BinaryPropertyListReader::readExtendedCount(Object& object) {
  const std::size_t room = tableOffset_ - object.contents;
  const std::uint8_t first = first_[object.contents];
  const std::size_t width = std::size_t{1} << (first & 0x0F);
  if (room == 0 || (first & 0xF0) != format::IntegerMarker || width > MaxWidth) {
    return fail(object.contents, "a count is not an integer of at most 8 bytes");
  }
  if (room - 1 < width) {
    return fail(object.contents, "a count is cut off by the offset table");
  }
  object.count = numberAt(object.contents + 1, width);
  object.contents += 1 + width;
  return true;
}

bool BinaryPropertyListReader::claim(const Object& object, std::size_t size) {
  const std::size_t room = tableOffset_ - object.contents;
  if (size > room) {
    return failForSize(object, size);
  }
  Progress& progress = progress_[object.index];
  if (progress.state != Unread) {
    return true;
  }
  const std::size_t wholeSize = (object.contents - object.offset) + size;
  if (wholeSize > unclaimed_) {
    return failForOverlap(object);
  }
  unclaimed_ -= wholeSize;
  progress.state = Leaf;
  return true;
}

bool BinaryPropertyListReader::open(Object& object, std::size_t unit) {
  if (depth_ == MaxPropertyListNesting) {
    return failAsTooDeep(object);
  }
  if (!claimCounted(object, unit)) {
    return false;
  }
  progress_[object.index].state = Open;
  ++depth_;
  return true;
}

PropertyListValue BinaryPropertyListReader::close(const Object& object, std::size_t outerTallest,
                                                  PropertyListValue value) {
  // A shared container may be read first where it is shallow: its own depth adds up as well.
  const std::size_t height = tallest_ + 1;
  if (height > MaxPropertyListNesting) {
    failAsTooDeep(object);
  }
  --depth_;
  // Nothing is read after the outermost container that could refer to it.
  if (depth_ > 0) {
    store(object, value, height);
  }
  tallest_ = std::max(outerTallest, height);
  return value;
}

void BinaryPropertyListReader::store(const Object& object, const PropertyListValue& value,
                                     std::size_t height) {
  progress_[object.index].state = FirstStored + static_cast<std::uint32_t>(stored_.size());
  stored_.emplace_back(value, height);
}

bool BinaryPropertyListReader::fail(std::size_t offset, std::string_view what) {
  // What comes first is the cause.
  if (!hasFailed()) {
    error_ = "The binary property list is damaged at byte " + std::to_string(offset) + ": " +
             std::string(what) + '.';
  }
  return false;
}

bool BinaryPropertyListReader::failForIndex(std::size_t referrer, std::uint64_t index) {
  return fail(referrer, "there is no object " + std::to_string(index) + " among " +
                            counted(objectCount_, "object"));
}

bool BinaryPropertyListReader::failForOffset(std::size_t place, std::uint64_t offset) {
  return fail(place, "no object can be at byte " + std::to_string(offset));
}

bool BinaryPropertyListReader::failForSize(const Object& object, std::size_t size) {
  return fail(object.offset, "contents of " + counted(size, "byte") + " do not fit in the " +
                                 counted(tableOffset_ - object.contents, "byte") +
                                 " before the offset table");
}

bool BinaryPropertyListReader::failForWidth(const Object& object, std::string_view kind,
                                            std::size_t width) {
  return fail(object.offset, std::string(kind) + " cannot be " + counted(width, "byte") + " wide");
}

bool BinaryPropertyListReader::failForCycle(std::size_t referrer, const Object& object) {
  return fail(referrer,
              "the container at byte " + std::to_string(object.offset) + " is inside itself");
}

bool BinaryPropertyListReader::failForOverlap(const Object& object) {
  return fail(object.offset, "objects overlap");
}

bool BinaryPropertyListReader::failAsTooDeep(const Object& object) {
  return fail(object.offset,
              "more than " + std::to_string(MaxPropertyListNesting) + " containers are nested");
}

std::uint64_t BinaryPropertyListReader::numberAt(std::size_t offset,
                                                 std::size_t width) const noexcept {
  const std::uint8_t* next = first_ + offset;
  std::uint64_t number = *next;
  // Nearly all offsets and references of messages.
  if (width == 1) {
    return number;
  }
  if (width == 2) {
    return (number << 8) | next[1];
  }
  while (--width > 0) {
    number = (number << 8) | *++next;
  }
  return number;
}

std::uint64_t BinaryPropertyListReader::wordAt(std::size_t offset) const noexcept {
  std::uint64_t word = 0;
  std::memcpy(&word, first_ + offset, sizeof word);
  return std::endian::native == std::endian::little ? std::byteswap(word) : word;
}

std::size_t BinaryPropertyListReader::referrerAt(const Object& object,
                                                 std::size_t place) const noexcept {
  return object.contents + (place * referenceWidth_);
}

std::uint64_t BinaryPropertyListReader::referenceAt(const Object& object,
                                                    std::size_t place) const noexcept {
  return numberAt(referrerAt(object, place), referenceWidth_);
}

}  // namespace korvan
