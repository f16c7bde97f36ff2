#include "platform/PropertyList.h"

#include <algorithm>
#include <array>
#include <functional>
#include <memory_resource>
#include <unordered_map>
#include <utility>

namespace korvan {
namespace {

/// An entry to put in its place. The prefix, and the size of a key that it holds whole, settle most
/// comparisons without a look at the text, which is far away when there are millions.
template <typename Entry>
struct Candidate {
  std::uint64_t prefix = 0;
  std::size_t size = 0;
  Entry* entry = nullptr;

  explicit Candidate(Entry& given)
      : prefix(orderingPrefixOf(given.key.view())), size(given.key.view().size()), entry(&given) {}

  /// By key, equal keys in the order in which they came.
  friend bool operator<(const Candidate& left, const Candidate& right) {
    if (left.prefix != right.prefix) {
      return left.prefix < right.prefix;
    }
    const auto order = std::max(left.size, right.size) <= sizeof left.prefix
                           ? left.size <=> right.size
                           : left.entry->key.view() <=> right.entry->key.view();
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
    candidates.emplace_back(entry);
  }
  // One key again and again is in order already.
  if (!std::ranges::is_sorted(candidates, std::less<>())) {
    std::ranges::sort(candidates, std::less<>());
  }
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

/// The release of a container and of what only it holds. Containers inside one another are released
/// by recursion down to a depth, and what is deeper after that, so that no nesting takes more
/// stack.
class Release {
 public:
  Release(const Release&) = delete;
  Release& operator=(const Release&) = delete;
  Release() noexcept { underWay = this; }

  ~Release() {
    while (!putOff_.empty()) {
      const PutOff next = std::move(putOff_.back());
      putOff_.pop_back();
    }
    underWay = nullptr;
  }

  template <typename Container>
  static void of(Container& container) {
    if (underWay == nullptr) {
      const Release outermost;
      const Container released = std::move(container);
    } else if (underWay->depth_ == MaxDepth) {
      underWay->putOff_.emplace_back(std::move(container));
    } else {
      ++underWay->depth_;
      std::optional<Container>(std::move(container)).reset();
      --underWay->depth_;
    }
  }

 private:
  using PutOff = std::variant<PropertyListValue::Array, PropertyListDictionary>;

  static constexpr std::size_t MaxDepth = 256;
  static thread_local Release* underWay;

  std::size_t depth_ = 0;
  std::vector<PutOff> putOff_;
};

constinit thread_local Release* Release::underWay = nullptr;

/// A container that values share.
template <typename Container>
struct Shared {
  explicit Shared(Container contents) noexcept : container(std::move(contents)) {}
  Shared(const Shared&) = delete;
  Shared& operator=(const Shared&) = delete;
  ~Shared() {
    if (!std::empty(container)) {
      Release::of(container);
    }
  }

  Container container;
};

template <typename Container>
std::shared_ptr<const Container> share(Container contents) {
  auto shared = std::make_shared<Shared<Container>>(std::move(contents));
  const Container* const container = &shared->container;
  return {std::move(shared), container};
}

}  // namespace

/// One comparison of two values.
class PropertyListComparison {
 public:
  bool areEqual(const PropertyListValue& left, const PropertyListValue& right) {
    return compare(left, right) && compareRest();
  }

  bool areEqual(const PropertyListDictionary& left, const PropertyListDictionary& right) {
    return compareContents(left, right) && compareRest();
  }

 private:
  using Array = PropertyListValue::Array;

  /// Two containers whose contents are to be compared.
  using Pair =
      std::variant<std::pair<const Array*, const Array*>,
                   std::pair<const PropertyListDictionary*, const PropertyListDictionary*>>;

  bool compareRest() {
    while (!rest_.empty()) {
      const Pair next = rest_.back();
      rest_.pop_back();
      const auto compareBoth = [this](const auto& pair) {
        return compareContents(*pair.first, *pair.second);
      };
      if (!std::visit(compareBoth, next)) {
        return false;
      }
    }
    return true;
  }

  /// Compares the two but for the contents of containers, which are put off.
  bool compare(const PropertyListValue& left, const PropertyListValue& right) {
    if (left.value_.index() != right.value_.index()) {
      return false;
    }
    if (const auto* array = left.array()) {
      putOff(array, right.array());
    } else if (const auto* set = left.set()) {
      putOff(set, right.set());
    } else if (const auto* dictionary = left.dictionary()) {
      putOff(dictionary, right.dictionary());
    } else {
      return left.value_ == right.value_;
    }
    return true;
  }

  template <typename Container>
  void putOff(const Container* left, const Container* right) {
    if (unite(left, right)) {
      rest_.emplace_back(std::pair(left, right));
    }
  }

  bool compareContents(const Array& left, const Array& right) {
    return std::ranges::equal(left, right, [this](const auto& leftItem, const auto& rightItem) {
      return compare(leftItem, rightItem);
    });
  }

  bool compareContents(const PropertyListDictionary& left, const PropertyListDictionary& right) {
    return std::ranges::equal(
        left.entries(), right.entries(), [this](const auto& leftEntry, const auto& rightEntry) {
          return leftEntry.key == rightEntry.key && compare(leftEntry.value, rightEntry.value);
        });
  }

  /// Takes the two for equal from here on: if they are not, the comparison ends there. False when
  /// they were taken for equal before, be it by way of others.
  bool unite(const void* left, const void* right) {
    const void* const leftName = nameOf(left);
    const void* const rightName = nameOf(right);
    if (leftName == rightName) {
      return false;
    }
    name_[leftName] = rightName;
    return true;
  }

  /// The one container that stands for all that are taken for equal to this one.
  const void* nameOf(const void* container) {
    for (auto found = name_.find(container); found != name_.end();) {
      const auto next = name_.find(found->second);
      if (next == name_.end()) {
        return found->second;
      }
      container = found->second = next->second;
      found = name_.find(container);
    }
    return container;
  }

  std::vector<Pair> rest_;
  /// Towards the container that stands for each; those that stand for themselves are absent.
  std::unordered_map<const void*, const void*> name_;
};

PropertyListValue::PropertyListValue(Array value) : value_(share(std::move(value))) {}

PropertyListValue::PropertyListValue(PropertyListDictionary value)
    : value_(share(std::move(value))) {}

PropertyListValue PropertyListValue::setOf(Array items) {
  PropertyListValue value;
  value.value_ = Set{share(std::move(items))};
  return value;
}

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
  // Nobody else can see it, and it was not made const: see share().
  return std::move(*std::const_pointer_cast<PropertyListDictionary>(*held));
}

bool PropertyListValue::truthValue() const noexcept {
  return boolean().value_or(false) || integer().value_or(0) != 0 ||
         largeInteger().value_or(0) != 0 || real().value_or(0) != 0;
}

bool operator==(const PropertyListValue& left, const PropertyListValue& right) {
  return PropertyListComparison().areEqual(left, right);
}

bool operator==(const PropertyListDictionary& left, const PropertyListDictionary& right) {
  return PropertyListComparison().areEqual(left, right);
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
