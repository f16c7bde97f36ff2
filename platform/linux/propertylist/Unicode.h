#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

/// Unicode's encoding forms (the Unicode Standard, chapter 3.9), strictly: no surrogate in UTF-8,
/// no overlong form, no half of a surrogate pair in UTF-16.
namespace korvan::unicode {

[[nodiscard]] inline bool isAscii(std::string_view text) noexcept {
  constexpr std::uint64_t HighBits = 0x8080808080808080;
  std::uint64_t seen = 0;
  if (text.size() < sizeof seen) {
    for (const char byte : text) {
      seen |= static_cast<std::uint8_t>(byte);
    }
    return (seen & HighBits) == 0;
  }
  const auto wordAt = [](const char* first) {
    std::uint64_t word = 0;
    std::memcpy(&word, first, sizeof word);
    return word;
  };
  const char* const last = text.data() + text.size() - sizeof seen;
  seen = wordAt(last);
  for (const char* next = text.data(); next < last; next += sizeof seen) {
    seen |= wordAt(next);
  }
  return (seen & HighBits) == 0;
}

/// The code point that `utf8`, which is not empty, begins with, taken off its front; none, and
/// nothing is taken off, when it is malformed.
std::optional<char32_t> takeUtf8(std::string_view& utf8) noexcept;

enum class ByteOrder : std::uint8_t { bigEndian, littleEndian };

/// The same of UTF-16 of at least two bytes; an odd byte at the end is malformed.
std::optional<char32_t> takeUtf16(std::span<const std::uint8_t>& utf16,
                                  ByteOrder order = ByteOrder::bigEndian) noexcept;

/// The code point of a surrogate pair; none when the two are not one.
std::optional<char32_t> codePointOfPair(char32_t high, char32_t low) noexcept;

/// The bytes that a code point takes in UTF-8: 1 to 4.
[[nodiscard]] constexpr std::size_t utf8SizeOf(char32_t codePoint) noexcept {
  return codePoint < 0x80 ? 1 : codePoint < 0x800 ? 2 : codePoint < 0x10000 ? 3 : 4;
}

/// Writes the code point's `utf8SizeOf` bytes at `next`, and moves it past them.
void putUtf8(std::uint8_t*& next, char32_t codePoint) noexcept;

}  // namespace korvan::unicode
