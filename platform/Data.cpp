#include "platform/Data.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace korvan {
namespace {

/// As much in one allocation as is asked for when it is made.
using Array = std::uint8_t[];  // NOLINT(modernize-avoid-c-arrays): std::array has a fixed size

}  // namespace

Data Data::copyOf(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) {
    return {};
  }
  MutableData copy = MutableData::uninitialized(bytes.size());
  std::memcpy(copy.bytes().data(), bytes.data(), bytes.size());
  return std::move(copy).freeze();
}

bool operator==(const Data& left, const Data& right) noexcept {
  return left.size_ == right.size_ &&
         (left.empty() || std::memcmp(left.first_.get(), right.first_.get(), left.size_) == 0);
}

MutableData MutableData::zeroed(std::size_t size) {
  auto bytes = std::make_shared<Array>(size);
  std::uint8_t* const first = bytes.get();
  return {std::shared_ptr<std::uint8_t>(std::move(bytes), first), size};
}

MutableData MutableData::uninitialized(std::size_t size) {
  auto bytes = std::make_shared_for_overwrite<Array>(size);
  std::uint8_t* const first = bytes.get();
  return {std::shared_ptr<std::uint8_t>(std::move(bytes), first), size};
}

Data MutableData::freeze() && noexcept {
  const std::size_t size = std::exchange(size_, 0);
  return {std::move(first_), size};
}

Data MutableData::freeze(std::size_t size) && noexcept {
  size_ = std::min(size_, size);
  return std::move(*this).freeze();
}

}  // namespace korvan
