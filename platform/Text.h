#pragma once

#include <compare>
#include <concepts>
#include <string_view>
#include <utility>

#include "platform/Data.h"

namespace korvan {

/// An immutable UTF-8 text that copies share. It may hold bytes that are not UTF-8, but those
/// cannot be encoded.
///
/// Texts are compared by their bytes.
class Text {
 public:
  Text() noexcept = default;

  /// Copies the characters of a string, a view or a literal.
  template <std::convertible_to<std::string_view> Characters>
  Text(const Characters& characters) : utf8_(copyOf(characters)) {}

  /// Shares the bytes.
  explicit Text(Data utf8) noexcept : utf8_(std::move(utf8)) {}

  /// Valid as long as any copy of this text.
  [[nodiscard]] std::string_view view() const noexcept {
    return {reinterpret_cast<const char*>(utf8_.bytes().data()), utf8_.size()};
  }

  friend bool operator==(const Text& left, const Text& right) noexcept {
    return left.view() == right.view();
  }
  friend std::strong_ordering operator<=>(const Text& left, const Text& right) noexcept {
    return left.view() <=> right.view();
  }

  // Compare with anything that converts to a text, without converting it.

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
