#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/Data.h"
#include "platform/Text.h"

namespace korvan {

class PropertyListDictionary;

/// A point in time: seconds since 2001-01-01 00:00:00 UTC, the epoch of property-list dates.
struct PropertyListDate {
  double secondsSinceReferenceDate = 0;
  friend bool operator==(const PropertyListDate&, const PropertyListDate&) = default;
};

/// A keyed archiver's reference number.
struct PropertyListUid {
  std::uint64_t value = 0;
  friend bool operator==(const PropertyListUid&, const PropertyListUid&) = default;
};

/// One immutable value of a property list. Copies share strings, data and containers, so copying
/// costs a reference count however large the value is; copies may be used on any thread.
///
/// Reading is by kind: a reader of another kind answers "absent", it does not convert. Values may
/// be nested without bound: comparing and releasing them do not recurse with the nesting.
class PropertyListValue {
 public:
  using Array = std::vector<PropertyListValue>;

  /// Null: a value that memory can hold and no property list can.
  PropertyListValue() noexcept = default;

  template <std::same_as<bool> Boolean>
  PropertyListValue(Boolean value) noexcept : value_(value) {}

  template <std::signed_integral Integer>
  PropertyListValue(Integer value) noexcept : value_(std::int64_t{value}) {}

  /// An integer in the signed range is the same value whichever way it was given.
  template <std::unsigned_integral Integer>
    requires(!std::same_as<Integer, bool>)
  PropertyListValue(Integer value) noexcept {
    if (value <= std::uint64_t{INT64_MAX}) {
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
  PropertyListValue(Array value);
  PropertyListValue(PropertyListDictionary value);

  /// A collection without order, which only the binary format knows and no message has. Equal sets
  /// here are those whose items also come in the same order.
  static PropertyListValue setOf(Array items);

  /// Copies the characters.
  PropertyListValue(std::string_view value) : value_(Text(value)) {}
  PropertyListValue(const std::string& value) : PropertyListValue(std::string_view(value)) {}
  PropertyListValue(const char* value) : PropertyListValue(std::string_view(value)) {}

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

  // The pointers are null when the value is of another kind, and good while this value lives.
  [[nodiscard]] const Text* text() const noexcept { return std::get_if<Text>(&value_); }
  [[nodiscard]] const Data* data() const noexcept { return std::get_if<Data>(&value_); }
  [[nodiscard]] const Array* array() const noexcept {
    const auto* held = std::get_if<std::shared_ptr<const Array>>(&value_);
    return held != nullptr ? held->get() : nullptr;
  }
  [[nodiscard]] const Array* set() const noexcept {
    const auto* held = std::get_if<Set>(&value_);
    return held != nullptr ? held->items.get() : nullptr;
  }
  [[nodiscard]] const PropertyListDictionary* dictionary() const noexcept {
    const auto* held = std::get_if<std::shared_ptr<const PropertyListDictionary>>(&value_);
    return held != nullptr ? held->get() : nullptr;
  }

  /// The dictionary itself when no copy of this value shares it, otherwise a copy; nothing when the
  /// value is of another kind. This value is null afterwards.
  [[nodiscard]] std::optional<PropertyListDictionary> takeDictionary() &&;

  /// What a boolean read of the value gives: a boolean's own value, whether a number differs from
  /// zero, and false for everything else.
  [[nodiscard]] bool truthValue() const noexcept;

  /// Containers that were found equal are not compared again, so the cost follows what the values
  /// hold in memory and not the number of ways that lead to it.
  friend bool operator==(const PropertyListValue& left, const PropertyListValue& right);

 private:
  friend class PropertyListComparison;

  struct Set {
    std::shared_ptr<const Array> items;
    friend bool operator==(const Set&, const Set&) = default;
  };

  template <typename Alternative>
  [[nodiscard]] std::optional<Alternative> alternative() const noexcept {
    const auto* held = std::get_if<Alternative>(&value_);
    return held != nullptr ? std::optional(*held) : std::nullopt;
  }

  std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, PropertyListDate,
               PropertyListUid, Text, Data, std::shared_ptr<const Array>, Set,
               std::shared_ptr<const PropertyListDictionary>>
      value_;
};

/// A dictionary with text keys, each at most once, kept in the keys' byte order: equal dictionaries
/// are enumerated, and so encoded, alike.
class PropertyListDictionary {
 public:
  struct Entry {
    Text key;
    PropertyListValue value;
    friend bool operator==(const Entry&, const Entry&) = default;
  };

  PropertyListDictionary() noexcept = default;

  /// Takes the entries in any order; of a repeated key the last one counts.
  explicit PropertyListDictionary(std::vector<Entry> entries);
  PropertyListDictionary(std::initializer_list<Entry> entries);

  /// The same of entries that are moved and not copied, as an initializer list's must be.
  template <std::same_as<Entry>... Entries>
  static PropertyListDictionary of(Entries... entries) {
    std::vector<Entry> list;
    list.reserve(sizeof...(entries));
    (list.push_back(std::move(entries)), ...);
    return PropertyListDictionary(std::move(list));
  }

  /// Takes entries that are in the keys' byte order and repeat none; the caller has seen to it.
  static PropertyListDictionary ofOrdered(std::vector<Entry> entries) noexcept {
    PropertyListDictionary dictionary;
    dictionary.entries_ = std::move(entries);
    return dictionary;
  }

  /// The key's value, or null when there is none; good until the dictionary changes.
  [[nodiscard]] const PropertyListValue* find(std::string_view key) const noexcept;

  /// Sets the key's value, replacing the one there was.
  void set(Text key, PropertyListValue value);

  [[nodiscard]] std::span<const Entry> entries() const noexcept { return entries_; }
  [[nodiscard]] std::size_t size() const noexcept { return entries_.size(); }
  [[nodiscard]] bool empty() const noexcept { return entries_.empty(); }

  friend bool operator==(const PropertyListDictionary& left, const PropertyListDictionary& right);

 private:
  std::vector<Entry> entries_;
};

}  // namespace korvan
