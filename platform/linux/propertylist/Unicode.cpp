#include "platform/linux/propertylist/Unicode.h"

#include <array>
#include <cstring>

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
  std::uint64_t seen = 0;
  constexpr std::size_t WordSize = sizeof seen;
  if (text.size() < WordSize) {
    for (const char byte : text) {
      seen |= static_cast<std::uint8_t>(byte);
    }
  } else {
    const auto seeWord = [&](std::size_t place) {
      std::uint64_t word = 0;
      std::memcpy(&word, text.data() + place, WordSize);
      seen |= word;
    };
    for (std::size_t place = 0; place < text.size() - WordSize; place += WordSize) {
      seeWord(place);
    }
    // Overlaps the word before it, unless the size is a multiple.
    seeWord(text.size() - WordSize);
  }
  return (seen & 0x8080808080808080) == 0;
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
    const unsigned first = utf16[offset];
    const unsigned second = utf16[offset + 1];
    return char32_t{order == std::endian::big ? first << 8 | second : second << 8 | first};
  };
  ConvertedUtf16 converted;
  while (converted.size + 2 <= utf16.size()) {
    std::optional<char32_t> codePoint = unitAt(converted.size);
    const std::size_t size = isSurrogate(*codePoint) ? 4 : 2;
    if (size == 4) {
      codePoint = converted.size + size <= utf16.size()
                      ? codePointOfPair(*codePoint, unitAt(converted.size + 2))
                      : std::nullopt;
    }
    if (!codePoint) {
      break;
    }
    appendUtf8(converted.utf8, *codePoint);
    converted.size += size;
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
