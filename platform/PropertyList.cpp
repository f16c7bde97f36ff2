#include "platform/PropertyList.h"

#include <algorithm>
#include <array>
#include <functional>
#include <memory_resource>
#include <set>
#include <utility>

namespace korvan {
namespace {

/// An entry to put in its place. The prefix settles most comparisons without a look at the text.
template <typename Entry>
struct Candidate {
  std::uint64_t prefix = 0;
  Entry* entry = nullptr;

  /// By key, equal keys in the order in which they came.
  friend bool operator<(const Candidate& left, const Candidate& right) {
    if (left.prefix != right.prefix) {
      return left.prefix < right.prefix;
    }
    const auto order = left.entry->key.view() <=> right.entry->key.view();
    return order < 0 || (order == 0 && left.entry < right.entry);
  }
};

bool areOrdered(std::span<const PropertyListDictionary::Entry> entries) {
  const auto isOutOfOrder = [](const auto& left, const auto& right) {
    const std::uint64_t leftPrefix = orderingPrefixOf(left.key.view());
    const std::uint64_t rightPrefix = orderingPrefixOf(right.key.view());
    return leftPrefix > rightPrefix ||
           (leftPrefix == rightPrefix && left.key.view() >= right.key.view());
  };
  return std::ranges::adjacent_find(entries, isOutOfOrder) == entries.end();
}

/// The entries in their keys' order, the last of each run of equal keys alone; `take` hands one
/// out.
template <typename Entry, typename Take>
std::vector<PropertyListDictionary::Entry> ordered(std::span<Entry> entries, Take take) {
  // Enough for the messages of everyday without going to the heap.
  std::array<std::byte, 512> buffer;
  std::pmr::monotonic_buffer_resource memory(buffer.data(), buffer.size());
  std::pmr::vector<Candidate<Entry>> candidates(&memory);
  candidates.reserve(entries.size());
  for (Entry& entry : entries) {
    candidates.push_back({orderingPrefixOf(entry.key.view()), &entry});
  }
  std::ranges::sort(candidates, std::less<>());
  std::vector<PropertyListDictionary::Entry> result;
  result.reserve(entries.size());
  for (std::size_t index = 0; index < candidates.size(); ++index) {
    const bool isLastOfKey = index + 1 == candidates.size() ||
                             candidates[index + 1].prefix != candidates[index].prefix ||
                             candidates[index + 1].entry->key != candidates[index].entry->key;
    if (isLastOfKey) {
      result.push_back(take(*candidates[index].entry));
    }
  }
  return result;
}

}  // namespace

/// One comparison of two values, which remembers the shared containers it has met.
class PropertyListComparison {
 public:
  bool equal(const PropertyListValue& left, const PropertyListValue& right) {
    if (left.value_.index() != right.value_.index()) {
      return false;
    }
    if (left.array() != nullptr) {
      return areEqualContainers(std::get<std::shared_ptr<const Array>>(left.value_),
                                std::get<std::shared_ptr<const Array>>(right.value_));
    }
    if (left.dictionary() != nullptr) {
      return areEqualContainers(std::get<std::shared_ptr<const Dictionary>>(left.value_),
                                std::get<std::shared_ptr<const Dictionary>>(right.value_));
    }
    return left.value_ == right.value_;
  }

  bool equal(const PropertyListDictionary& left, const PropertyListDictionary& right) {
    return std::ranges::equal(
        left.entries(), right.entries(), [this](const auto& leftEntry, const auto& rightEntry) {
          return leftEntry.key == rightEntry.key && equal(leftEntry.value, rightEntry.value);
        });
  }

 private:
  using Array = PropertyListValue::Array;
  using Dictionary = PropertyListDictionary;

  bool equal(const Array& left, const Array& right) {
    return std::ranges::equal(left, right, [this](const auto& leftItem, const auto& rightItem) {
      return equal(leftItem, rightItem);
    });
  }

  template <typename Container>
  bool areEqualContainers(const std::shared_ptr<const Container>& left,
                          const std::shared_ptr<const Container>& right) {
    // A pair met before was equal, or the comparison would have ended there. Containers that only
    // one value holds each are met as often as the pair that holds them: once.
    const bool mayBeMetAgain = left.use_count() > 1 || right.use_count() > 1;
    return left == right || (mayBeMetAgain && !met_.emplace(left.get(), right.get()).second) ||
           equal(*left, *right);
  }

  std::set<std::pair<const void*, const void*>> met_;
};

PropertyListValue::PropertyListValue(Array value)
    : value_(std::make_shared<const Array>(std::move(value))) {}

PropertyListValue::PropertyListValue(PropertyListDictionary value)
    : value_(std::make_shared<PropertyListDictionary>(std::move(value))) {}

std::optional<PropertyListDictionary> PropertyListValue::takeDictionary() && {
  const PropertyListValue taken = std::exchange(*this, {});
  const auto* const held =
      std::get_if<std::shared_ptr<const PropertyListDictionary>>(&taken.value_);
  if (held == nullptr) {
    return std::nullopt;
  }
  if (held->use_count() > 1) {
    return **held;
  }
  // Nobody else can see it, and it was not made const: see the constructor.
  return std::move(*std::const_pointer_cast<PropertyListDictionary>(*held));
}

bool PropertyListValue::truthValue() const noexcept {
  return boolean().value_or(false) || integer().value_or(0) != 0 ||
         largeInteger().value_or(0) != 0 || real().value_or(0) != 0;
}

bool operator==(const PropertyListValue& left, const PropertyListValue& right) {
  return PropertyListComparison().equal(left, right);
}

bool operator==(const PropertyListDictionary& left, const PropertyListDictionary& right) {
  return PropertyListComparison().equal(left, right);
}

PropertyListDictionary::PropertyListDictionary(std::vector<Entry> entries)
    : entries_(std::move(entries)) {
  if (!areOrdered(entries_)) {
    entries_ = ordered(std::span(entries_), [](Entry& entry) { return std::move(entry); });
  }
}

PropertyListDictionary::PropertyListDictionary(std::initializer_list<Entry> entries)
    : entries_(ordered(std::span(entries.begin(), entries.size()),
                       [](const Entry& entry) { return entry; })) {}

const PropertyListValue* PropertyListDictionary::find(std::string_view key) const noexcept {
  const auto keyOf = [](const Entry& entry) { return entry.key.view(); };
  // Up to here, walking past keys of other lengths costs less than halving the range does.
  constexpr std::size_t MaxWalked = 16;
  if (size() <= MaxWalked) {
    const auto found = std::ranges::find(entries_, key, keyOf);
    return found != entries_.end() ? &found->value : nullptr;
  }
  const auto found = std::ranges::lower_bound(entries_, key, {}, keyOf);
  return found != entries_.end() && keyOf(*found) == key ? &found->value : nullptr;
}

void PropertyListDictionary::set(Text key, PropertyListValue value) {
  const auto place = std::ranges::lower_bound(entries_, key.view(), {},
                                              [](const Entry& entry) { return entry.key.view(); });
  if (place != entries_.end() && place->key == key) {
    place->value = std::move(value);
  } else {
    entries_.insert(place, Entry{.key = std::move(key), .value = std::move(value)});
  }
}

}  // namespace korvan
