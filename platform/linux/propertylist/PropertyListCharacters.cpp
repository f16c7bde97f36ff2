#include "platform/linux/propertylist/PropertyListCharacters.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "platform/linux/propertylist/Unicode.h"

namespace korvan {
namespace {

constexpr std::string_view Utf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view BigEndianMark = "\xFE\xFF";
constexpr std::string_view LittleEndianMark = "\xFF\xFE";

/// What follows the characters that could be read.
std::unexpected<PropertyListError> noTextAfter(std::string_view characters, std::string_view form) {
  return std::unexpected(PropertyListError{
      "The bytes are no property list: at " + placeIn(characters, characters.size()) +
      ", a character is not valid " + std::string(form) + '.'});
}

std::expected<Data, PropertyListError> checkedUtf8(const Data& bytes, std::size_t markSize) {
  Data characters = bytes.slice(markSize, bytes.size() - markSize);
  std::string_view rest = viewOf(characters);
  if (!unicode::isAscii(rest)) {
    while (!rest.empty()) {
      if (!unicode::takeUtf8(rest)) {
        return noTextAfter(viewOf(characters).substr(0, characters.size() - rest.size()), "UTF-8");
      }
    }
  }
  return characters;
}

std::expected<Data, PropertyListError> fromUtf16(const Data& bytes, unicode::ByteOrder order) {
  const auto utf16 = bytes.bytes().subspan(BigEndianMark.size());
  // The most that a unit of two bytes becomes.
  constexpr std::size_t MaxUtf8SizeOfUnit = 3;
  std::vector<std::uint8_t> characters(utf16.size() / 2 * MaxUtf8SizeOfUnit);
  const std::uint8_t* const first = characters.data();
  std::uint8_t* next = characters.data();
  for (auto rest = utf16; !rest.empty();) {
    const auto codePoint = unicode::takeUtf16(rest, order);
    if (!codePoint) {
      return noTextAfter(
          {reinterpret_cast<const char*>(first), static_cast<std::size_t>(next - first)}, "UTF-16");
    }
    unicode::putUtf8(next, *codePoint);
  }
  characters.resize(static_cast<std::size_t>(next - first));
  return characters;
}

}  // namespace

std::expected<Data, PropertyListError> propertyListCharacters(const Data& bytes) {
  const std::string_view view = viewOf(bytes);
  if (view.starts_with(BigEndianMark)) {
    return fromUtf16(bytes, unicode::ByteOrder::bigEndian);
  }
  if (view.starts_with(LittleEndianMark)) {
    return fromUtf16(bytes, unicode::ByteOrder::littleEndian);
  }
  return checkedUtf8(bytes, view.starts_with(Utf8Mark) ? Utf8Mark.size() : 0);
}

std::string_view viewOf(const Data& characters) noexcept {
  return {reinterpret_cast<const char*>(characters.bytes().data()), characters.size()};
}

std::string placeIn(std::string_view characters, std::size_t offset) {
  std::size_t line = 1;
  std::size_t column = 1;
  for (std::size_t place = 0; place < std::min(offset, characters.size()); ++place) {
    const char character = characters[place];
    const bool isLineFeedOfPair = character == '\n' && place > 0 && characters[place - 1] == '\r';
    if (isLineFeedOfPair) {
      continue;
    }
    if (character == '\n' || character == '\r') {
      ++line;
      column = 1;
    } else if ((static_cast<std::uint8_t>(character) & 0xC0) != 0x80) {
      ++column;
    }
  }
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

PropertyListError damageAt(std::string_view format, std::string_view characters, std::size_t offset,
                           std::string_view what) {
  return {"The " + std::string(format) + " property list is damaged at " +
          placeIn(characters, offset) + ": " + std::string(what) + '.'};
}

}  // namespace korvan
