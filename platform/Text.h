#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

#include "platform/Data.h"

namespace korvan {

/// An immutable UTF-8 text that copies share, as Data shares bytes. What is not UTF-8 can be held,
/// but not encoded.
class Text {
 public:
  Text() noexcept = default;

  /// A copy of `text`, in one allocation.
  explicit Text(std::string_view text);

  /// Shares the bytes of `utf8`.
  explicit Text(Data utf8) noexcept : size_(utf8.size_) {
    const char* const first = reinterpret_cast<const char*>(utf8.first_.get());
    first_ = std::shared_ptr<const char>(std::move(utf8.first_), first);
  }

  /// Refers to characters that outlive the program's work, such as a literal's; see `_text`.
  static Text ofStatic(std::string_view characters) noexcept {
    Text text;
    // No owner: the characters need none, and copies then cost no reference count either.
    const char* const first = std::to_address(characters.begin());
    text.first_ = std::shared_ptr<const char>(std::shared_ptr<const char>(), first);
    text.size_ = characters.size();
    return text;
  }

  [[nodiscard]] std::string_view view() const noexcept { return {first_.get(), size_}; }

  /// The first eight bytes as a number: texts whose numbers differ are in the numbers' byte order.
  [[nodiscard]] std::uint64_t orderingPrefix() const noexcept {
    std::uint64_t prefix = 0;
    if (size_ >= sizeof prefix) {
      std::memcpy(&prefix, first_.get(), sizeof prefix);
      return std::endian::native == std::endian::little ? std::byteswap(prefix) : prefix;
    }
    for (std::size_t index = 0; index < size_; ++index) {
      prefix = (prefix << 8) | static_cast<std::uint8_t>(first_.get()[index]);
    }
    return size_ == 0 ? 0 : prefix << (8 * (sizeof prefix - size_));
  }

  friend bool operator==(const Text& left, const Text& right) noexcept {
    return left.view() == right.view();
  }

 private:
  std::shared_ptr<const char> first_;
  std::size_t size_ = 0;
};

/// A literal as Text, without copying it.
[[nodiscard]] inline Text operator""_text(const char* characters, std::size_t size) noexcept {
  return Text::ofStatic({characters, size});
}

}  // namespace korvan
