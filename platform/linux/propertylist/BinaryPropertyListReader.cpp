#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/linux/propertylist/BinaryPropertyListFormat.h"
#include "platform/linux/propertylist/PropertyListCharacters.h"
#include "platform/linux/propertylist/PropertyListDamage.h"
#include "platform/linux/propertylist/PropertyListFormats.h"
#include "platform/linux/propertylist/Unicode.h"

namespace korvan {
namespace {

namespace format = binaryPropertyList;

constexpr std::size_t MaxWidth = sizeof(std::uint64_t);

void requireWidth(std::size_t offset, std::string_view kind, std::size_t width, bool isRight) {
  requireIntact(isRight, offset, kind, " cannot be ", CountedNoun{width, "byte"}, " wide");
}

/// Reads each container and each converted text once, and keeps it for the other references. Its
/// functions throw PropertyListDamage.
class BinaryReader {
 public:
  explicit BinaryReader(const Data& bytes) : bytes_(bytes), first_(bytes.bytes().data()) {
    requireIntact(bytes.size() >= format::Magic.size() + format::TrailerSize, bytes.size(),
                  "it ends before its trailer is complete");
    requireIntact(viewOf(bytes).starts_with(format::Magic), 0,
                  "it does not begin with \"bplist00\"");
    readTrailer(bytes.size() - format::TrailerSize);
  }

  PropertyListValue readTop() {
    const std::size_t referrer = bytes_.size() - format::TrailerSize + format::TopPlace;
    return read(objectAt(referrer, MaxWidth), referrer);
  }

 private:
  /// What is known of an object.
  struct Object {
    enum class State : std::uint8_t {
      unread,
      /// A container whose members are being read: a reference to it is a cycle.
      open,
      /// Read before, and cheaper to read again than to keep.
      read,
      kept,
    };
    State state = State::unread;
    /// How deeply containers nest from here on: 0 for a leaf, 1 for a container of leaves.
    std::uint16_t height = 0;
    std::size_t offset = 0;
    /// Where in `kept_` the value of a kept object is.
    std::size_t keptPlace = 0;
    /// The dictionary in which this object was a key most recently.
    const Object* lastDictionary = nullptr;
  };

  /// What follows an object's first byte, and the integer object with its count if there is one.
  struct Contents {
    std::size_t offset = 0;
    /// Bytes, units of UTF-16, references or pairs of references.
    std::size_t count = 0;
  };

  void readTrailer(std::size_t trailer) {
    offsetWidth_ = first_[trailer + format::OffsetWidthPlace];
    referenceWidth_ = first_[trailer + format::ReferenceWidthPlace];
    const std::uint64_t count = numberAt(trailer + format::CountPlace, MaxWidth);
    const std::uint64_t tableOffset = numberAt(trailer + format::TableOffsetPlace, MaxWidth);
    requireWidth(trailer + format::OffsetWidthPlace, "an offset", offsetWidth_,
                 offsetWidth_ >= 1 && offsetWidth_ <= MaxWidth);
    requireWidth(trailer + format::ReferenceWidthPlace, "a reference", referenceWidth_,
                 referenceWidth_ >= 1 && referenceWidth_ <= MaxWidth);
    requireIntact(tableOffset >= format::Magic.size() && tableOffset <= trailer,
                  trailer + format::TableOffsetPlace, "the offset table cannot begin at ",
                  tableOffset);
    // By division, so that no count is too large to be checked.
    const std::size_t tableSize = trailer - tableOffset;
    requireIntact(tableSize % offsetWidth_ == 0 && count == tableSize / offsetWidth_,
                  trailer + format::CountPlace, "the offset table's ",
                  CountedNoun{tableSize, "byte"}, " do not hold one offset each for ",
                  CountedNoun{count, "object"});
    tableOffset_ = tableOffset;
    unclaimed_ = tableOffset_ - format::Magic.size();
    objects_.resize(count);
  }

  /// The object that the `width` bytes at `referrer` refer to.
  Object& objectAt(std::size_t referrer, std::size_t width) {
    const std::uint64_t number = numberAt(referrer, width);
    requireIntact(number < objects_.size(), referrer, "there is no object ", number, " among ",
                  CountedNoun{objects_.size(), "object"});
    Object& object = objects_[number];
    if (object.state == Object::State::unread) {
      const std::size_t place = tableOffset_ + (number * offsetWidth_);
      object.offset = numberAt(place, offsetWidth_);
      requireIntact(object.offset >= format::Magic.size() && object.offset < tableOffset_, place,
                    "no object can be at byte ", object.offset);
    }
    return object;
  }

  /// The value of the object. `referrer` is where the reference to it is.
  PropertyListValue read(Object& object, std::size_t referrer) {
    requireIntact(object.state != Object::State::open, referrer, "the container at byte ",
                  object.offset, " is inside itself");
    if (object.state == Object::State::kept) {
      return kept_[object.keptPlace];
    }
    switch (first_[object.offset] & 0xF0) {
      case format::IntegerMarker:
        return readInteger(object);
      case format::RealMarker:
        return readReal(object);
      case format::DateMarker & 0xF0:
        return readDate(object);
      case format::DataMarker:
        return readData(object);
      case format::AsciiMarker:
        return readAscii(object);
      case format::Utf16Marker:
        return readUtf16(object);
      case format::UidMarker:
        return readUid(object);
      case format::ArrayMarker:
        return keep(object, readItems(object));
      case format::SetMarker:
        return keep(object, PropertyListValue::setOf(readItems(object)));
      case format::DictionaryMarker:
        return keep(object, readDictionary(object));
      default:
        return readSingleByte(object);
    }
  }

  PropertyListValue keep(Object& object, PropertyListValue value) {
    // Nothing is read after the outermost container that could refer to it.
    if (nesting_ > 0) {
      object.state = Object::State::kept;
      object.keptPlace = kept_.size();
      kept_.push_back(value);
    }
    return value;
  }

  PropertyListValue readSingleByte(Object& object) {
    claim(object, object.offset + 1, 0);
    switch (const std::uint8_t byte = first_[object.offset]) {
      case format::NullMarker:
        return {};
      case format::FalseMarker:
        return false;
      case format::TrueMarker:
        return true;
      default:
        throwDamage(object.offset, "no kind of object begins with the byte ", std::uint64_t{byte});
    }
  }

  PropertyListValue readInteger(Object& object) {
    const std::size_t width = std::size_t{1} << detailOf(object);
    claimFixed(object, "an integer", width, width <= 2 * MaxWidth);
    const std::size_t contents = object.offset + 1;
    if (width < MaxWidth) {
      return numberAt(contents, width);
    }
    const std::uint64_t low = numberAt(contents + width - MaxWidth, MaxWidth);
    const auto number = static_cast<std::int64_t>(low);
    const std::uint64_t high = numberAt(contents, MaxWidth);
    if (width == MaxWidth || (high == std::numeric_limits<std::uint64_t>::max() && number < 0)) {
      return number;
    }
    requireIntact(high == 0, object.offset, "an integer does not fit in 64 bits");
    return low;
  }

  PropertyListValue readReal(Object& object) {
    const std::size_t width = std::size_t{1} << detailOf(object);
    claimFixed(object, "a real number", width, width == sizeof(float) || width == sizeof(double));
    const std::uint64_t bits = numberAt(object.offset + 1, width);
    return width == sizeof(double) ? std::bit_cast<double>(bits)
                                   : double{std::bit_cast<float>(static_cast<std::uint32_t>(bits))};
  }

  PropertyListValue readDate(Object& object) {
    const std::size_t width = std::size_t{1} << detailOf(object);
    claimFixed(object, "a date", width, width == sizeof(double));
    return PropertyListDate{std::bit_cast<double>(numberAt(object.offset + 1, width))};
  }

  PropertyListValue readUid(Object& object) {
    const std::size_t width = detailOf(object) + 1;
    claimFixed(object, "a UID", width, width <= MaxWidth);
    return PropertyListUid{numberAt(object.offset + 1, width)};
  }

  PropertyListValue readData(Object& object) {
    const Contents contents = claimCounted(object, 1);
    return bytes_.slice(contents.offset, contents.count);
  }

  Text readAscii(Object& object) {
    const bool isNew = object.state == Object::State::unread;
    const Contents contents = claimCounted(object, 1);
    requireIntact(!isNew || isAscii(viewOf(bytes_).substr(contents.offset, contents.count)),
                  object.offset, "an ASCII string holds a byte above 127");
    return Text(bytes_.slice(contents.offset, contents.count));
  }

  PropertyListValue readUtf16(Object& object) {
    const Contents contents = claimCounted(object, 2);
    const auto utf16 = bytes_.bytes().subspan(contents.offset, 2 * contents.count);
    const auto [utf8, size] = utf8OfUtf16(utf16, std::endian::big);
    requireIntact(size == utf16.size(), contents.offset + size,
                  "a UTF-16 string holds half a surrogate pair");
    return keep(object, utf8);
  }

  /// The items of an array or a set.
  PropertyListValue::Array readItems(Object& container) {
    const Contents contents = enterContainer(container, 1);
    PropertyListValue::Array items;
    items.reserve(contents.count);
    for (std::size_t index = 0; index < contents.count; ++index) {
      items.push_back(readMember(container, contents.offset + (index * referenceWidth_)));
    }
    leaveContainer(container);
    return items;
  }

  // A message is one dictionary: without calls for each of its values it takes a sixth less time.
  [[gnu::flatten]] PropertyListDictionary readDictionary(Object& container) {
    const Contents contents = enterContainer(container, 2);
    PropertyListDictionary dictionary;
    // From the last on: of a repeated key only the last value counts, and is read.
    for (std::size_t index = contents.count; index-- > 0;) {
      const std::size_t referrer = contents.offset + (index * referenceWidth_);
      Object& key = objectAt(referrer, referenceWidth_);
      // A thousand references to one long text must not take as many comparisons of it.
      if (std::exchange(key.lastDictionary, &container) == &container) {
        continue;
      }
      const std::size_t size = dictionary.size();
      const auto entry = dictionary.try_emplace(dictionary.begin(), readKey(key, referrer));
      if (dictionary.size() > size) {
        entry->second = readMember(container, referrer + (contents.count * referenceWidth_));
      }
    }
    leaveContainer(container);
    return dictionary;
  }

  Text readKey(Object& key, std::size_t referrer) {
    switch (first_[key.offset] & 0xF0) {
      case format::AsciiMarker:
        return readAscii(key);
      case format::Utf16Marker:
        return *read(key, referrer).text();
      default:
        throwDamage(referrer, "a dictionary's key is not a string");
    }
  }

  PropertyListValue readMember(Object& container, std::size_t referrer) {
    Object& member = objectAt(referrer, referenceWidth_);
    PropertyListValue value = read(member, referrer);
    container.height = std::max(container.height, member.height);
    return value;
  }

  /// The container's references, of which each member takes so many.
  Contents enterContainer(Object& container, std::size_t references) {
    checkPropertyListNesting(++nesting_, container.offset);
    const Contents contents = claimCounted(container, references * referenceWidth_);
    container.state = Object::State::open;
    return contents;
  }

  void leaveContainer(Object& container) {
    // A shared container may be read first where it is shallow: its own height adds up as well.
    checkPropertyListNesting(++container.height, container.offset);
    --nesting_;
  }

  /// Claims `width` bytes after the object's first one. `isRight`: its kind can have that width.
  void claimFixed(Object& object, std::string_view kind, std::size_t width, bool isRight) {
    requireWidth(object.offset, kind, width, isRight);
    claim(object, object.offset + 1, width);
  }

  /// Reads an object's count, and claims as many times `unit` bytes.
  Contents claimCounted(Object& object, std::size_t unit) {
    Contents contents{.offset = object.offset + 1, .count = detailOf(object)};
    if (contents.count == format::ExtendedCount) {
      contents = readExtendedCount(object.offset + 1);
    }
    // A count above the number of bytes cannot be right, and below it no product can overflow.
    claim(object, contents.offset,
          contents.count <= bytes_.size() ? contents.count * unit : contents.count);
    return contents;
  }

  [[nodiscard]] Contents readExtendedCount(std::size_t offset) const {
    const std::size_t room = tableOffset_ - offset;
    const std::size_t width = std::size_t{1} << (first_[offset] & 0x0F);
    requireIntact(room > 0 && (first_[offset] & 0xF0) == format::IntegerMarker && width <= MaxWidth,
                  offset, "a count is not an integer of at most 8 bytes");
    requireIntact(width < room, offset, "a count is cut off by the offset table");
    return {.offset = offset + 1 + width, .count = numberAt(offset + 1, width)};
  }

  /// Checks that `size` bytes of contents exist. The first time, takes the object's bytes from
  /// those that no object has taken yet: there are too few only if two objects overlap.
  void claim(Object& object, std::size_t contents, std::size_t size) {
    const std::size_t room = tableOffset_ - contents;
    requireIntact(size <= room, object.offset, "contents of ", CountedNoun{size, "byte"},
                  " do not fit in the ", CountedNoun{room, "byte"}, " before the offset table");
    if (object.state != Object::State::unread) {
      return;
    }
    const std::size_t wholeSize = contents - object.offset + size;
    requireIntact(wholeSize <= unclaimed_, object.offset, "objects overlap");
    unclaimed_ -= wholeSize;
    object.state = Object::State::read;
  }

  /// The low half of the object's first byte.
  [[nodiscard]] std::size_t detailOf(const Object& object) const {
    return first_[object.offset] & 0x0FU;
  }

  [[nodiscard]] std::uint64_t numberAt(std::size_t offset, std::size_t width) const {
    // Eight bytes are always there, since the trailer follows all numbers but its own last one.
    std::uint64_t number = 0;
    std::memcpy(&number, first_ + offset, sizeof number);
    if constexpr (std::endian::native == std::endian::little) {
      number = std::byteswap(number);
    }
    return number >> (8 * (MaxWidth - width));
  }

  const Data& bytes_;
  const std::uint8_t* first_;
  std::size_t offsetWidth_ = 0;
  std::size_t referenceWidth_ = 0;
  std::size_t tableOffset_ = 0;
  /// Bytes in front of the offset table that no object has taken yet.
  std::size_t unclaimed_ = 0;
  std::size_t nesting_ = 0;
  std::vector<Object> objects_;
  std::vector<PropertyListValue> kept_;
};

}  // namespace

bool isBinaryPropertyList(const Data& bytes) noexcept {
  return viewOf(bytes).starts_with(format::Magic.substr(0, format::NameSize));
}

std::expected<PropertyListValue, PropertyListError> readBinaryPropertyList(const Data& bytes) {
  try {
    return BinaryReader(bytes).readTop();
  } catch (const PropertyListDamage& damage) {
    return std::unexpected(PropertyListError{"The binary property list is damaged at byte " +
                                             std::to_string(damage.offset) + ": " + damage.what +
                                             '.'});
  }
}

}  // namespace korvan
