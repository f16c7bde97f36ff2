#pragma once

#include <compare>
#include <concepts>
#include <string_view>
#include <utility>

#include "platform/Data.h"

namespace korvan {

/// An immutable UTF-8 text that copies share. What is not UTF-8 can be held, but not encoded.
///
/// Texts are equal when their bytes are, and ordered by their bytes.
class Text {
 public:
  Text() noexcept = default;

  /// Copies the characters of a string, a view or a literal.
  template <std::convertible_to<std::string_view> Characters>
  Text(const Characters& characters) : utf8_(copyOf(characters)) {}

  /// Shares the bytes.
  explicit Text(Data utf8) noexcept : utf8_(std::move(utf8)) {}

  /// Good while a copy of this text lives.
  [[nodiscard]] std::string_view view() const noexcept;

  friend bool operator==(const Text& left, const Text& right) noexcept {
    return left.view() == right.view();
  }
  friend std::strong_ordering operator<=>(const Text& left, const Text& right) noexcept {
    return left.view() <=> right.view();
  }

  // With anything that a text can be made of, without making it.

  template <std::convertible_to<std::string_view> Characters>
  friend bool operator==(const Text& left, const Characters& right) noexcept {
    return left.view() == std::string_view(right);
  }
  template <std::convertible_to<std::string_view> Characters>
  friend std::strong_ordering operator<=>(const Text& left, const Characters& right) noexcept {
    return left.view() <=> std::string_view(right);
  }

 private:
  static Data copyOf(std::string_view characters);

  Data utf8_;
};

}  // namespace korvan
