#include "platform/Data.h"

#include <algorithm>

namespace korvan {

Data::Data(std::vector<std::uint8_t> bytes) : size_(bytes.size()) {
  const auto owner = std::make_shared<const std::vector<std::uint8_t>>(std::move(bytes));
  first_ = std::shared_ptr<const std::uint8_t>(owner, owner->data());
}

bool operator==(const Data& left, const Data& right) noexcept {
  return std::ranges::equal(left.bytes(), right.bytes());
}

}  // namespace korvan
