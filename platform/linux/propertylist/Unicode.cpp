#include "platform/linux/propertylist/Unicode.h"

#include <array>

namespace korvan::unicode {
namespace {

constexpr char32_t FirstHighSurrogate = 0xD800;
constexpr char32_t FirstLowSurrogate = 0xDC00;
constexpr char32_t LastSurrogate = 0xDFFF;

bool isSurrogate(char32_t unit) { return unit >= FirstHighSurrogate && unit <= LastSurrogate; }

}  // namespace

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

std::optional<char32_t> takeUtf16(std::span<const std::uint8_t>& utf16, ByteOrder order) noexcept {
  const auto unitAt = [&](std::size_t offset) {
    const bool isBig = order == ByteOrder::bigEndian;
    const std::uint8_t high = utf16[offset + (isBig ? 0 : 1)];
    const std::uint8_t low = utf16[offset + (isBig ? 1 : 0)];
    return static_cast<char32_t>((high << 8) | low);
  };
  if (utf16.size() < 2) {
    return std::nullopt;
  }
  const char32_t unit = unitAt(0);
  if (!isSurrogate(unit)) {
    utf16 = utf16.subspan(2);
    return unit;
  }
  const auto codePoint = utf16.size() < 4 ? std::nullopt : codePointOfPair(unit, unitAt(2));
  if (codePoint) {
    utf16 = utf16.subspan(4);
  }
  return codePoint;
}

std::optional<char32_t> codePointOfPair(char32_t high, char32_t low) noexcept {
  const bool isPair = high >= FirstHighSurrogate && high < FirstLowSurrogate &&
                      low >= FirstLowSurrogate && low <= LastSurrogate;
  if (!isPair) {
    return std::nullopt;
  }
  return 0x10000 + ((high - FirstHighSurrogate) << 10) + (low - FirstLowSurrogate);
}

void putUtf8(std::uint8_t*& next, char32_t codePoint) noexcept {
  constexpr std::array<std::uint8_t, 5> Lead = {0, 0, 0xC0, 0xE0, 0xF0};
  const std::size_t size = utf8SizeOf(codePoint);
  for (std::size_t index = size; --index > 0; codePoint >>= 6) {
    next[index] = static_cast<std::uint8_t>(0x80 | (codePoint & 0x3F));
  }
  *next = static_cast<std::uint8_t>(Lead[size] | codePoint);
  next += size;
}

}  // namespace korvan::unicode
