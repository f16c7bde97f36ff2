#include "platform/apple/utf16/Utf16.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace korvan {
namespace {

constexpr char32_t Replacement = 0xFFFD;
constexpr char32_t FirstBeyond16Bits = 0x10000;
constexpr char32_t LastCodePoint = 0x10FFFF;

/// The smallest code point with as many continuation bytes as the index.
constexpr std::array<char32_t, 4> LeastOf = {0, 0x80, 0x800, FirstBeyond16Bits};

bool isHighSurrogate(char32_t unit) { return (unit & 0xFFFFFC00) == 0xD800; }
bool isLowSurrogate(char32_t unit) { return (unit & 0xFFFFFC00) == 0xDC00; }
bool isSurrogate(char32_t unit) { return (unit & 0xFFFFF800) == 0xD800; }

/// Takes the first code point off `utf8`, which is not empty. Nullopt if it is malformed.
std::optional<char32_t> takeCodePoint(std::string_view& utf8) {
  const auto first = static_cast<std::uint8_t>(utf8.front());
  utf8.remove_prefix(1);
  const int ones = std::countl_one(first);
  if (ones == 0) {
    return first;
  }
  const auto more = static_cast<std::size_t>(ones) - 1;
  if (ones == 1 || more >= LeastOf.size() || utf8.size() < more) {
    return std::nullopt;
  }
  char32_t codePoint = first & (0x7FU >> ones);
  for (const char each : utf8.substr(0, more)) {
    const auto byte = static_cast<std::uint8_t>(each);
    if ((byte & 0xC0U) != 0x80U) {
      return std::nullopt;
    }
    codePoint = (codePoint << 6) | (byte & 0x3FU);
  }
  utf8.remove_prefix(more);
  const bool isValid =
      codePoint >= LeastOf.at(more) && codePoint <= LastCodePoint && !isSurrogate(codePoint);
  return isValid ? std::optional(codePoint) : std::nullopt;
}

/// Takes the first code point off `utf16`, which is not empty.
char32_t takeCodePoint(std::u16string_view& utf16) {
  const char32_t first = utf16.front();
  utf16.remove_prefix(1);
  if (!isSurrogate(first)) {
    return first;
  }
  if (!isHighSurrogate(first) || utf16.empty() || !isLowSurrogate(utf16.front())) {
    return Replacement;
  }
  const char32_t second = utf16.front();
  utf16.remove_prefix(1);
  return FirstBeyond16Bits + ((first & 0x3FFU) << 10) + (second & 0x3FFU);
}

void append(std::u16string& utf16, char32_t codePoint) {
  if (codePoint < FirstBeyond16Bits) {
    utf16 += static_cast<char16_t>(codePoint);
  } else {
    codePoint -= FirstBeyond16Bits;
    utf16 += static_cast<char16_t>(0xD800U + (codePoint >> 10));
    utf16 += static_cast<char16_t>(0xDC00U + (codePoint & 0x3FFU));
  }
}

void append(std::string& utf8, char32_t codePoint) {
  if (codePoint < LeastOf[1]) {
    utf8 += static_cast<char>(codePoint);
    return;
  }
  const unsigned more = codePoint < LeastOf[2] ? 1 : codePoint < LeastOf[3] ? 2 : 3;
  utf8 += static_cast<char>(((0xFF00U >> (more + 1)) & 0xFFU) | (codePoint >> (6 * more)));
  for (unsigned left = more; left > 0; --left) {
    utf8 += static_cast<char>(0x80U | ((codePoint >> (6 * (left - 1))) & 0x3FU));
  }
}

}  // namespace

std::optional<std::u16string> utf16OfUtf8(std::string_view utf8) {
  std::u16string utf16;
  utf16.reserve(utf8.size());
  while (!utf8.empty()) {
    const auto codePoint = takeCodePoint(utf8);
    if (!codePoint) {
      return std::nullopt;
    }
    append(utf16, *codePoint);
  }
  return utf16;
}

std::string utf8OfUtf16(std::u16string_view utf16) {
  std::string utf8;
  utf8.reserve(utf16.size());
  while (!utf16.empty()) {
    append(utf8, takeCodePoint(utf16));
  }
  return utf8;
}

}  // namespace korvan
