#include "fuzz/PropertyListWalk.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <string_view>
#include <unordered_map>

#include "fuzz/Fuzzing.h"
#include "platform/linux/Unicode.h"

namespace korvan::fuzz {
namespace {

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    if (!unicode::takeUtf8(text)) {
      return false;
    }
  }
  return true;
}

class Walk {
 public:
  /// Answers the value's height.
  std::size_t visit(const PropertyListValue& value) {
    if (const auto* items = value.array() != nullptr ? value.array() : value.set()) {
      found_.hasSet |= value.set() != nullptr;
      return visitOnce(items, [&] { return visitItems(*items); });
    }
    if (const auto* dictionary = value.dictionary()) {
      return visitOnce(dictionary, [&] { return visitEntries(*dictionary); });
    }
    visitLeaf(value);
    return 0;
  }

  [[nodiscard]] PropertyListContents found() const { return found_; }

 private:
  template <typename Visit>
  std::size_t visitOnce(const void* container, Visit visitInside) {
    if (const auto known = heights_.find(container); known != heights_.end()) {
      return known->second;
    }
    const std::size_t height = 1 + visitInside();
    found_.height = std::max(found_.height, height);
    return heights_[container] = height;
  }

  std::size_t visitItems(const PropertyListValue::Array& items) {
    std::size_t tallest = 0;
    for (const auto& item : items) {
      tallest = std::max(tallest, visit(item));
    }
    return tallest;
  }

  std::size_t visitEntries(const PropertyListDictionary& dictionary) {
    const auto keyOf = [](const auto& entry) { return entry.key.view(); };
    require(std::ranges::adjacent_find(dictionary.entries(), std::ranges::greater_equal(), keyOf) ==
                dictionary.entries().end(),
            "keys are in order and differ");
    std::size_t tallest = 0;
    for (const auto& entry : dictionary.entries()) {
      require(isUtf8(entry.key.view()), "a key is UTF-8");
      tallest = std::max(tallest, visit(entry.value));
    }
    return tallest;
  }

  void visitLeaf(const PropertyListValue& value) {
    found_.hasNull |= value.isNull();
    if (const auto* text = value.text()) {
      require(isUtf8(text->view()), "a text is UTF-8");
    } else if (const auto* data = value.data()) {
      const auto bytes = data->bytes();
      found_.sumOfBytes = std::accumulate(bytes.begin(), bytes.end(), found_.sumOfBytes);
    } else if (const auto real = value.real()) {
      found_.hasNotANumber |= std::isnan(*real);
    } else if (const auto date = value.date()) {
      found_.hasNotANumber |= std::isnan(date->secondsSinceReferenceDate);
    }
  }

  PropertyListContents found_;
  std::unordered_map<const void*, std::size_t> heights_;
};

}  // namespace

PropertyListContents walk(const PropertyListValue& top) {
  Walk walk;
  walk.visit(top);
  return walk.found();
}

}  // namespace korvan::fuzz
