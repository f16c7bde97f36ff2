#include "platform/linux/propertylist/Unicode.h"

#include <array>

namespace korvan {
namespace {

constexpr char32_t FirstHighSurrogate = 0xD800;
constexpr char32_t FirstLowSurrogate = 0xDC00;
constexpr char32_t LastSurrogate = 0xDFFF;
constexpr char32_t FirstOfPairs = 0x10000;

bool isSurrogate(char32_t unit) { return unit >= FirstHighSurrogate && unit <= LastSurrogate; }

void appendUnit(std::string& utf16, char32_t unit) {
  utf16 += static_cast<char>(unit >> 8);
  utf16 += static_cast<char>(unit);
}

}  // namespace

bool isAscii(std::string_view text) noexcept {
  std::uint8_t seen = 0;
  for (const char byte : text) {
    seen |= static_cast<std::uint8_t>(byte);
  }
  return seen < 0x80;
}

std::optional<char32_t> takeUtf8(std::string_view& utf8) noexcept {
  const auto lead = static_cast<std::uint8_t>(utf8.front());
  const std::size_t following = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
  if ((lead >= 0x80 && lead < 0xC2) || lead > 0xF4 || utf8.size() <= following) {
    return std::nullopt;
  }
  char32_t codePoint = following == 0 ? lead : lead & (0x3FU >> following);
  for (std::size_t index = 1; index <= following; ++index) {
    const auto byte = static_cast<std::uint8_t>(utf8[index]);
    if ((byte & 0xC0) != 0x80) {
      return std::nullopt;
    }
    codePoint = (codePoint << 6) | (byte & 0x3FU);
  }
  constexpr std::array<char32_t, 4> Least = {0, 0x80, 0x800, 0x10000};
  if (codePoint < Least[following] || codePoint > 0x10FFFF || isSurrogate(codePoint)) {
    return std::nullopt;
  }
  utf8.remove_prefix(following + 1);
  return codePoint;
}

void appendUtf8(std::string& utf8, char32_t codePoint) {
  if (codePoint < 0x80) {
    utf8 += static_cast<char>(codePoint);
    return;
  }
  const unsigned following = codePoint < 0x800 ? 1 : codePoint < 0x10000 ? 2 : 3;
  constexpr std::array<unsigned, 4> Lead = {0, 0xC0, 0xE0, 0xF0};
  utf8 += static_cast<char>(Lead[following] | (codePoint >> (6 * following)));
  for (unsigned left = following; left-- > 0;) {
    utf8 += static_cast<char>(0x80 | ((codePoint >> (6 * left)) & 0x3F));
  }
}

std::optional<char32_t> codePointOfPair(char32_t high, char32_t low) noexcept {
  const bool isPair = high >= FirstHighSurrogate && high < FirstLowSurrogate &&
                      low >= FirstLowSurrogate && low <= LastSurrogate;
  if (!isPair) {
    return std::nullopt;
  }
  return FirstOfPairs + ((high - FirstHighSurrogate) << 10) + (low - FirstLowSurrogate);
}

ConvertedUtf16 utf8OfUtf16(std::span<const std::uint8_t> utf16, std::endian order) {
  const auto unitAt = [&](std::size_t offset) {
    const bool isBig = order == std::endian::big;
    const unsigned high = utf16[offset + (isBig ? 0 : 1)];
    const unsigned low = utf16[offset + (isBig ? 1 : 0)];
    return static_cast<char32_t>((high << 8) | low);
  };
  ConvertedUtf16 converted;
  while (utf16.size() - converted.size >= 2) {
    const char32_t unit = unitAt(converted.size);
    if (!isSurrogate(unit)) {
      appendUtf8(converted.utf8, unit);
      converted.size += 2;
      continue;
    }
    const bool hasSecond = utf16.size() - converted.size >= 4;
    const auto pair = hasSecond ? codePointOfPair(unit, unitAt(converted.size + 2)) : std::nullopt;
    if (!pair) {
      break;
    }
    appendUtf8(converted.utf8, *pair);
    converted.size += 4;
  }
  return converted;
}

std::optional<std::string> utf16OfUtf8(std::string_view utf8) {
  std::string utf16;
  while (!utf8.empty()) {
    const auto codePoint = takeUtf8(utf8);
    if (!codePoint) {
      return std::nullopt;
    }
    if (*codePoint < FirstOfPairs) {
      appendUnit(utf16, *codePoint);
    } else {
      appendUnit(utf16, FirstHighSurrogate + ((*codePoint - FirstOfPairs) >> 10));
      appendUnit(utf16, FirstLowSurrogate + (*codePoint & 0x3FF));
    }
  }
  return utf16;
}

}  // namespace korvan
