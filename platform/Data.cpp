#include "platform/Data.h"

#include <algorithm>

namespace korvan {

Data::Data(std::vector<std::uint8_t> bytes) : size_(bytes.size()) {
  const auto owner = std::make_shared<const std::vector<std::uint8_t>>(std::move(bytes));
  first_ = std::shared_ptr<const std::uint8_t>(owner, owner->data());
}

Data Data::copyOf(std::span<const std::uint8_t> bytes) {
  // NOLINTNEXTLINE(modernize-avoid-c-arrays): std::array has a fixed size
  const auto owner = std::make_shared_for_overwrite<std::uint8_t[]>(bytes.size());
  std::ranges::copy(bytes, owner.get());
  return {std::shared_ptr<const std::uint8_t>(owner, owner.get()), bytes.size()};
}

bool operator==(const Data& left, const Data& right) noexcept {
  return std::ranges::equal(left.bytes(), right.bytes());
}

}  // namespace korvan
