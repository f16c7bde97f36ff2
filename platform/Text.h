#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>
#include <variant>

#include "platform/Data.h"

namespace korvan {

/// An immutable UTF-8 text. Copies of a long one share its bytes, as Data shares them; a short one
/// is kept in the text itself, where a copy costs less than a reference count. What is not UTF-8
/// can be held, but not encoded.
class Text {
 public:
  /// The most bytes that are kept inside: as many as the longest key of a message has.
  static constexpr std::size_t MaxShortSize = 22;

  Text() noexcept = default;

  /// A copy of `text`, in at most one allocation.
  explicit Text(std::string_view text)
      : text_(text.size() <= MaxShortSize ? Storage(Short(text)) : Storage(copyOf(text))) {}

  /// Shares the bytes of `utf8`, unless they are few.
  explicit Text(Data utf8) noexcept
      : text_(utf8.size() <= MaxShortSize ? Storage(Short(viewOf(utf8)))
                                          : Storage(std::move(utf8))) {}

  /// The text of the `size` bytes of `utf8` from `offset` on, which the caller has checked to
  /// exist.
  static Text sliceOf(const Data& utf8, std::size_t offset, std::size_t size) noexcept {
    return size <= MaxShortSize ? Text(Storage(Short({viewOf(utf8).data() + offset, size})))
                                : Text(Storage(utf8.slice(offset, size)));
  }

  /// Refers to characters that outlive the program's work, such as a literal's; see `_text`.
  static Text ofStatic(std::string_view characters) noexcept { return Text(Storage(characters)); }

  [[nodiscard]] std::string_view view() const noexcept {
    if (const auto* const brief = std::get_if<Short>(&text_)) {
      return {brief->characters.data(), brief->size};
    }
    if (const auto* const lasting = std::get_if<std::string_view>(&text_)) {
      return *lasting;
    }
    return viewOf(*std::get_if<Data>(&text_));
  }

  friend bool operator==(const Text& left, const Text& right) noexcept {
    return left.view() == right.view();
  }

 private:
  struct Short {
    Short() noexcept = default;
    explicit Short(std::string_view text) noexcept : size(static_cast<std::uint8_t>(text.size())) {
      std::ranges::copy(text, characters.begin());
    }

    std::array<char, MaxShortSize + 1> characters;
    std::uint8_t size = 0;
  };

  using Storage = std::variant<Short, std::string_view, Data>;

  template <std::same_as<Storage> Stored>
  explicit Text(Stored text) noexcept : text_(std::move(text)) {}

  static Data copyOf(std::string_view text);

  static std::string_view viewOf(const Data& utf8) noexcept {
    return {reinterpret_cast<const char*>(utf8.bytes().data()), utf8.size()};
  }

  Storage text_;
};

/// The first eight bytes as a number: texts whose numbers differ are in the numbers' byte order.
[[nodiscard]] inline std::uint64_t orderingPrefixOf(std::string_view text) noexcept {
  std::uint64_t prefix = 0;
  if (text.size() >= sizeof prefix) {
    std::memcpy(&prefix, text.data(), sizeof prefix);
    return std::endian::native == std::endian::little ? std::byteswap(prefix) : prefix;
  }
  for (const char character : text) {
    prefix = (prefix << 8) | static_cast<std::uint8_t>(character);
  }
  return text.empty() ? 0 : prefix << (8 * (sizeof prefix - text.size()));
}

/// A literal as Text, without copying it.
[[nodiscard]] inline Text operator""_text(const char* characters, std::size_t size) noexcept {
  return Text::ofStatic({characters, size});
}

}  // namespace korvan
