#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

// Strict conversions between Unicode's encoding forms (the Unicode Standard, chapter 3.9): no
// surrogate and no overlong form in UTF-8, no unpaired surrogate in UTF-16.

namespace korvan {

[[nodiscard]] bool isAscii(std::string_view text) noexcept;

/// Removes the first code point from `utf8`, which must not be empty. If it is malformed, returns
/// nullopt and removes nothing.
std::optional<char32_t> takeUtf8(std::string_view& utf8) noexcept;

void appendUtf8(std::string& utf8, char32_t codePoint);

/// The code point of a surrogate pair. Nullopt if the two are not a pair.
[[nodiscard]] std::optional<char32_t> codePointOfPair(char32_t high, char32_t low) noexcept;

/// UTF-16 converted to UTF-8.
struct ConvertedUtf16 {
  std::string utf8;
  /// How many bytes of UTF-16 were converted: all, or those before the first malformed ones.
  std::size_t size = 0;
};
[[nodiscard]] ConvertedUtf16 utf8OfUtf16(std::span<const std::uint8_t> utf16, std::endian order);

/// The text in big-endian UTF-16 without a byte-order mark. Nullopt if it is not UTF-8.
[[nodiscard]] std::optional<std::string> utf16OfUtf8(std::string_view utf8);

}  // namespace korvan
