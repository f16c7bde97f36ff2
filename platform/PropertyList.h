#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/Data.h"
#include "platform/Text.h"

namespace korvan {

class PropertyListValue;

/// Values by their keys, in the keys' byte order: equal dictionaries are encoded alike.
using PropertyListDictionary = std::map<Text, PropertyListValue, std::less<>>;

/// How deep the containers of a property list may nest, including the outermost, in any format.
/// Every platform refuses to read or write deeper ones, so that recursion fits any thread's stack.
inline constexpr std::size_t MaxPropertyListNesting = 512;

/// A point in time: seconds since 2001-01-01 00:00:00 UTC, the epoch of property-list dates.
struct PropertyListDate {
  double secondsSinceReferenceDate = 0;
  friend bool operator==(const PropertyListDate&, const PropertyListDate&) = default;
};

/// A keyed archiver's reference.
struct PropertyListUid {
  std::uint64_t value = 0;
  friend bool operator==(const PropertyListUid&, const PropertyListUid&) = default;
};

/// One immutable value of a property list. Copies share texts, data and containers, so copying
/// costs a reference count however large the value is; copies may be used on any thread.
///
/// Read a value by its kind: a reader for another kind returns nullopt or null, and converts
/// nothing.
///
/// Comparing and releasing a value recurse into its containers. All code that nests values must
/// keep to MaxPropertyListNesting, as every reader does. Comparing follows each reference to a
/// shared container, so it takes exponential time if every level refers to the next one twice.
class PropertyListValue {
 public:
  using Array = std::vector<PropertyListValue>;

  /// Null, which cannot be encoded.
  PropertyListValue() noexcept = default;

  template <std::same_as<bool> Boolean>
  PropertyListValue(Boolean value) noexcept : value_(value) {}

  template <std::signed_integral Integer>
  PropertyListValue(Integer value) noexcept : value_(std::int64_t{value}) {}

  /// An integer in the signed range is the same value whichever constructor made it.
  template <std::unsigned_integral Integer>
    requires(!std::same_as<Integer, bool>)
  PropertyListValue(Integer value) noexcept {
    if (std::in_range<std::int64_t>(value)) {
      value_ = static_cast<std::int64_t>(value);
    } else {
      value_ = std::uint64_t{value};
    }
  }

  PropertyListValue(double value) noexcept : value_(value) {}
  PropertyListValue(PropertyListDate value) noexcept : value_(value) {}
  PropertyListValue(PropertyListUid value) noexcept : value_(value) {}
  PropertyListValue(Text value) noexcept : value_(std::move(value)) {}
  PropertyListValue(Data value) noexcept : value_(std::move(value)) {}

  /// Copies the characters into a text.
  template <std::convertible_to<std::string_view> Characters>
  PropertyListValue(const Characters& value) : value_(Text(value)) {}

  // Containers, nested at most MaxPropertyListNesting deep.
  PropertyListValue(Array value);
  PropertyListValue(PropertyListDictionary value);

  /// A set, which only the binary format has, and no message. Two sets are equal only if their
  /// items are in the same order.
  static PropertyListValue setOf(Array items);

  [[nodiscard]] bool isNull() const noexcept {
    return std::holds_alternative<std::monostate>(value_);
  }
  [[nodiscard]] std::optional<bool> boolean() const noexcept { return alternative<bool>(); }
  [[nodiscard]] std::optional<std::int64_t> integer() const noexcept {
    return alternative<std::int64_t>();
  }
  /// Only an integer above the signed range; see integer() for all others.
  [[nodiscard]] std::optional<std::uint64_t> largeInteger() const noexcept {
    return alternative<std::uint64_t>();
  }
  [[nodiscard]] std::optional<double> real() const noexcept { return alternative<double>(); }
  [[nodiscard]] std::optional<PropertyListDate> date() const noexcept {
    return alternative<PropertyListDate>();
  }
  [[nodiscard]] std::optional<PropertyListUid> uid() const noexcept {
    return alternative<PropertyListUid>();
  }

  // The pointers are null when the value is of another kind. They are valid as long as this value.
  [[nodiscard]] const Text* text() const noexcept { return std::get_if<Text>(&value_); }
  [[nodiscard]] const Data* data() const noexcept { return std::get_if<Data>(&value_); }
  [[nodiscard]] const Array* array() const noexcept { return container<Array>(); }
  [[nodiscard]] const Array* set() const noexcept {
    const auto* const held = container<Set>();
    return held != nullptr ? &held->items : nullptr;
  }
  [[nodiscard]] const PropertyListDictionary* dictionary() const noexcept {
    return container<PropertyListDictionary>();
  }

  /// The value read as a boolean: a boolean's own value, whether a number is not zero, and false
  /// for everything else.
  [[nodiscard]] bool truthValue() const noexcept;

  friend bool operator==(const PropertyListValue& left, const PropertyListValue& right);

 private:
  struct Set {
    Array items;
    friend bool operator==(const Set&, const Set&) = default;
  };

  /// A container that copies share, and that is compared by its contents.
  template <typename Container>
  struct Shared {
    std::shared_ptr<const Container> container;
    friend bool operator==(const Shared& left, const Shared& right) {
      return *left.container == *right.container;
    }
  };

  template <typename Alternative>
  [[nodiscard]] std::optional<Alternative> alternative() const noexcept {
    const auto* const held = std::get_if<Alternative>(&value_);
    return held != nullptr ? std::optional(*held) : std::nullopt;
  }

  template <typename Container>
  [[nodiscard]] const Container* container() const noexcept {
    const auto* const held = std::get_if<Shared<Container>>(&value_);
    return held != nullptr ? held->container.get() : nullptr;
  }

  std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, PropertyListDate,
               PropertyListUid, Text, Data, Shared<Array>, Shared<Set>,
               Shared<PropertyListDictionary>>
      value_;
};

/// The key's value, or null when there is none. Valid until the dictionary changes.
[[nodiscard]] const PropertyListValue* valueForKey(const PropertyListDictionary& dictionary,
                                                   std::string_view key) noexcept;

}  // namespace korvan
