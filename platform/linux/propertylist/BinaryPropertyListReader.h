#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <memory_resource>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Data.h"
#include "platform/PropertyList.h"
#include "platform/PropertyListSerialization.h"

namespace korvan {

/// Reads the binary property-list format, version 1.0; see BinaryPropertyListFormat.h.
///
/// Data and ASCII strings share the bytes that they were read from. An object that is referred to
/// more than once is one value with shared storage. Whatever the bytes say, time and memory stay
/// proportional to their number (sorting a dictionary's keys adds a logarithm).
///
/// Of a repeated key the last value counts. A null object reads as the null value.
class BinaryPropertyListReader {
 public:
  /// Whether `bytes` announce this format, in whichever version.
  static bool recognizes(const Data& bytes) noexcept;

  /// The top object. The error's description names the byte offset and what is wrong there.
  static std::expected<PropertyListValue, PropertyListError> read(const Data& bytes);

 private:
  /// What is known of an object.
  struct Progress {
    /// `Unread`, `Open`, `Leaf`, or `FirstStored` plus a place in `stored_`.
    std::uint32_t state = Unread;
    /// The dictionary that had this object as a key last, as its index plus one, and where in its
    /// list of keys.
    std::uint32_t keyOwner = 0;
    std::uint32_t keyPlace = 0;
  };

  /// A value that was costly to make: a container, or a converted string.
  struct Stored {
    PropertyListValue value;
    /// Containers inside one another from this one on; 0 for a string.
    std::size_t height = 0;
  };

  /// An object in the bytes: its place, first byte, and what its count says follows.
  struct Object {
    std::size_t index = 0;
    std::size_t offset = 0;
    std::uint8_t marker = 0;
    /// The low half of the first byte.
    std::uint8_t detail = 0;
    /// Where the contents begin, after the extended count if there is one.
    std::size_t contents = 0;
    std::size_t count = 0;
  };

  /// A dictionary's key, with the place of its value.
  struct Key;

  static constexpr std::uint32_t Unread = 0;
  /// A container that is being read: a reference to it is a cycle.
  static constexpr std::uint32_t Open = 1;
  /// Read before, and cheaper to read again than to keep.
  static constexpr std::uint32_t Leaf = 2;
  static constexpr std::uint32_t FirstStored = 3;

  explicit BinaryPropertyListReader(const Data& bytes) noexcept;

  /// Whether the trailer was right; if not, fail() has been called.
  bool readTrailer();

  // A function that cannot do its part calls fail(), after which hasFailed() says true and what the
  // function answers means nothing.

  PropertyListValue readObject(std::size_t referrer, std::uint64_t index);
  PropertyListValue readNew(Object& object);
  PropertyListValue readSingleByte(const Object& object);
  PropertyListValue readInteger(const Object& object);
  PropertyListValue readWideInteger(const Object& object);
  PropertyListValue readReal(const Object& object);
  PropertyListValue readDate(const Object& object);
  PropertyListValue readUid(const Object& object);
  PropertyListValue readData(Object& object);
  PropertyListValue readText(Object& object);
  /// Finds a string's contents, and the first time makes sure that they are text.
  bool openAscii(Object& object);
  PropertyListValue readUtf16(Object& object);
  /// Of an array or a set.
  PropertyListValue readItems(Object& object);
  PropertyListValue readDictionary(Object& object);
  void readKeys(const Object& dictionary, std::pmr::vector<Key>& keys);
  void readKey(const Object& dictionary, std::size_t place, std::pmr::vector<Key>& keys);
  [[nodiscard]] std::string_view viewAt(std::size_t offset, std::size_t size) const noexcept;
  [[nodiscard]] std::string_view viewOf(const Key& key) const noexcept;
  [[nodiscard]] Text textOf(const Key& key) const noexcept;

  /// Finds the object with the number, to which the byte at `referrer` refers.
  bool locate(std::size_t referrer, std::uint64_t index, Object& object);
  /// Reads the object's count, and claims as many times `unit` bytes.
  bool claimCounted(Object& object, std::size_t unit);
  bool readExtendedCount(Object& object);
  /// Checks that `size` bytes of contents exist, and the first time also that the object leaves
  /// enough bytes for those read before, which is so when no two overlap.
  bool claim(const Object& object, std::size_t size);
  /// Begins with a container, whose items take `unit` bytes each.
  bool open(Object& object, std::size_t unit);
  /// Ends with a container that was open()ed when the tallest one was `outerTallest`.
  PropertyListValue close(const Object& object, std::size_t outerTallest, PropertyListValue value);
  void store(const Object& object, const PropertyListValue& value, std::size_t height);

  [[gnu::cold]] bool fail(std::size_t offset, std::string_view what);
  // The sentences are put together out of the way of what reads well-formed bytes.
  [[gnu::cold]] bool failForIndex(std::size_t referrer, std::uint64_t index);
  [[gnu::cold]] bool failForOffset(std::size_t place, std::uint64_t offset);
  [[gnu::cold]] bool failForSize(const Object& object, std::size_t size);
  [[gnu::cold]] bool failForWidth(const Object& object, std::string_view kind, std::size_t width);
  [[gnu::cold]] bool failForCycle(std::size_t referrer, const Object& object);
  [[gnu::cold]] bool failForOverlap(const Object& object);
  [[gnu::cold]] bool failAsTooDeep(const Object& object);
  [[nodiscard]] bool hasFailed() const noexcept { return !error_.empty(); }

  [[nodiscard]] std::uint64_t numberAt(std::size_t offset, std::size_t width) const noexcept;
  /// The number of eight bytes.
  [[nodiscard]] std::uint64_t wordAt(std::size_t offset) const noexcept;
  /// Where in a container the reference number `place` is.
  [[nodiscard]] std::size_t referrerAt(const Object& object, std::size_t place) const noexcept;
  [[nodiscard]] std::uint64_t referenceAt(const Object& object, std::size_t place) const noexcept;

  const Data& bytes_;
  const std::uint8_t* first_;
  std::size_t offsetWidth_ = 0;
  std::size_t referenceWidth_ = 0;
  std::uint64_t objectCount_ = 0;
  std::uint64_t top_ = 0;
  std::size_t tableOffset_ = 0;
  /// Bytes in front of the offset table that no object has taken yet.
  std::size_t unclaimed_ = 0;
  std::size_t depth_ = 0;
  /// The greatest height among the containers met in the container that is being read.
  std::size_t tallest_ = 0;
  std::string error_;

  /// Enough for the answers of everyday without going to the heap.
  std::array<std::byte, 2048> buffer_;
  std::pmr::monotonic_buffer_resource memory_{buffer_.data(), buffer_.size()};
  std::pmr::vector<Progress> progress_{&memory_};
  std::pmr::vector<Stored> stored_{&memory_};
};

}  // namespace korvan
