#include "platform/fake/FakePropertyListSerialization.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>
#include <utility>

namespace korvan {
namespace {

constexpr std::string_view Mark = "kept property list ";

std::string_view textOf(const Data& bytes) {
  return {reinterpret_cast<const char*>(bytes.bytes().data()), bytes.size()};
}

std::optional<std::size_t> indexIn(std::string_view text) {
  if (!text.starts_with(Mark)) {
    return std::nullopt;
  }
  const std::string_view digits = text.substr(Mark.size());
  std::size_t index = 0;
  const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), index);
  const bool isWhole = parsed.ec == std::errc() && parsed.ptr == digits.data() + digits.size();
  return isWhole ? std::optional(index) : std::nullopt;
}

}  // namespace

std::expected<Data, PropertyListError> FakePropertyListSerialization::encodeBinary(
    const PropertyListDictionary& propertyList) const {
  if (encodingError) {
    return std::unexpected(*encodingError);
  }
  const auto null =
      std::ranges::find_if(propertyList, [](const auto& entry) { return entry.second.isNull(); });
  if (null != propertyList.end()) {
    return std::unexpected(
        PropertyListError{"Null cannot be encoded: " + std::string(null->first.view())});
  }
  return bytesFor(propertyList);
}

std::expected<PropertyListValue, PropertyListError> FakePropertyListSerialization::decode(
    const Data& bytes) const {
  if (decodingError) {
    return std::unexpected(*decodingError);
  }
  const auto index = indexIn(textOf(bytes));
  if (!index || *index >= kept_.size()) {
    return std::unexpected(PropertyListError{"Not a property list."});
  }
  return kept_[*index];
}

Data FakePropertyListSerialization::bytesFor(PropertyListValue value) const {
  const std::string text = std::string(Mark) + std::to_string(kept_.size());
  kept_.push_back(std::move(value));
  return Data::copyOf({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

}  // namespace korvan
