#include "platform/linux/propertylist/PropertyListCharacters.h"

#include <bit>
#include <cstdint>

#include "platform/linux/propertylist/Unicode.h"

namespace korvan {
namespace {

constexpr std::string_view Utf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view BigEndianMark = "\xFE\xFF";
constexpr std::string_view LittleEndianMark = "\xFF\xFE";

/// The error for what is not text. `characters` are those before it.
std::unexpected<PropertyListError> noTextAfter(std::string_view characters, std::string_view form) {
  return std::unexpected(PropertyListError{
      "The bytes are not a property list: at " + placeIn(characters, characters.size()) +
      ", a character is not valid " + std::string(form) + '.'});
}

}  // namespace

std::expected<Data, PropertyListError> propertyListCharacters(const Data& bytes) {
  const std::string_view view = viewOf(bytes);
  if (view.starts_with(BigEndianMark) || view.starts_with(LittleEndianMark)) {
    const auto order = view.starts_with(BigEndianMark) ? std::endian::big : std::endian::little;
    const auto utf16 = bytes.bytes().subspan(BigEndianMark.size());
    const auto [utf8, size] = utf8OfUtf16(utf16, order);
    if (size < utf16.size()) {
      return noTextAfter(utf8, "UTF-16");
    }
    return std::vector<std::uint8_t>(utf8.begin(), utf8.end());
  }
  const std::size_t markSize = view.starts_with(Utf8Mark) ? Utf8Mark.size() : 0;
  for (std::string_view rest = view.substr(markSize); !rest.empty();) {
    if (!takeUtf8(rest)) {
      return noTextAfter(view.substr(markSize, view.size() - markSize - rest.size()), "UTF-8");
    }
  }
  return bytes.slice(markSize, bytes.size() - markSize);
}

std::string_view viewOf(const Data& characters) noexcept {
  return {reinterpret_cast<const char*>(characters.bytes().data()), characters.size()};
}

std::string placeIn(std::string_view characters, std::size_t offset) {
  std::size_t line = 1;
  std::size_t column = 1;
  char last = '\0';
  for (const char character : characters.substr(0, offset)) {
    const bool isLineFeedOfPair = character == '\n' && last == '\r';
    const bool isContinued = (static_cast<std::uint8_t>(character) & 0xC0) == 0x80;
    last = character;
    if (isLineFeedOfPair || isContinued) {
      continue;
    }
    if (character == '\n' || character == '\r') {
      ++line;
      column = 1;
    } else {
      ++column;
    }
  }
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

PropertyListError errorOfDamage(std::string_view subject, std::string_view characters,
                                const PropertyListDamage& damage) {
  return {std::string(subject) + " is damaged at " + placeIn(characters, damage.offset) + ": " +
          damage.what + '.'};
}

}  // namespace korvan
