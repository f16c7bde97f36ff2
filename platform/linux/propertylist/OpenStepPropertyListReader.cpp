#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/linux/propertylist/PropertyListCharacters.h"
#include "platform/linux/propertylist/PropertyListDamage.h"
#include "platform/linux/propertylist/PropertyListFormats.h"
#include "platform/linux/propertylist/Unicode.h"

namespace korvan {
namespace {

/// The NeXTSTEP character set, which octal escapes are in, from 128 on; what is below is ASCII. See
/// https://www.unicode.org/Public/MAPPINGS/VENDORS/NEXT/NEXTSTEP.TXT.
constexpr std::u16string_view UpperNextStep =
    u"\u00A0ÀÁÂÃÄÅÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖÙÚÛÜÝÞµ×÷©¡¢£\u2044¥ƒ§¤\u2019\u201C«\u2039\u203A\uFB01\uFB02®"
    u"\u2013†‡\u00B7¦¶•\u201A\u201E\u201D»…‰¬¿\u00B9\u02CB\u00B4\u02C6\u02DC\u00AF\u02D8\u02D9"
    u"\u00A8²\u02DA\u00B8³\u02DD\u02DB\u02C7\u2014±¼½¾àáâãäåçèéêëìÆíªîïðñŁØŒºòóôõöæùúû\u0131üýłøœß"
    u"þÿ\uFFFD\uFFFD";
static_assert(UpperNextStep.size() == 128);

constexpr std::string_view BareCharacters =
    "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_$/:.-";
constexpr std::string_view OpenStepSpace = " \t\n\v\f\r";

bool isQuote(char character) { return character == '"' || character == '\''; }

/// Reads from front to back. Its functions throw PropertyListDamage.
class OpenStepReader {
 public:
  explicit OpenStepReader(const Data& characters)
      : characters_(characters), view_(viewOf(characters)) {}

  PropertyListValue readTop() {
    if (!skipSpace()) {
      return PropertyListDictionary();
    }
    const std::size_t first = next_;
    PropertyListValue value = readValue();
    if (!skipSpace()) {
      return value;
    }
    const bool isKey = value.text() != nullptr && (next() == '=' || next() == ';');
    requireIntact(isKey, next_, "more follows the value");
    next_ = first;
    PropertyListDictionary entries = readEntries();
    requireIntact(isAtEnd(), next_, "a key cannot begin like this");
    return entries;
  }

 private:
  PropertyListValue readValue() {
    skipSpace();
    requireIntact(!isAtEnd(), next_, "a value is missing");
    switch (next()) {
      case '(':
        return readArray();
      case '{':
        return readDictionary();
      case '<':
        return readData();
      default:
        return readText();
    }
  }

  PropertyListValue readArray() {
    const std::size_t first = next_;
    enterContainer();
    PropertyListValue::Array items;
    // A comma may follow the last item.
    while (skipSpace() && next() != ')') {
      items.push_back(readValue());
      if (!skipSpace() || !take(',')) {
        break;
      }
    }
    requireIntact(!isAtEnd(), first, "an array is not closed");
    requireIntact(take(')'), next_, "neither a comma nor a closing parenthesis follows an item");
    --nesting_;
    return items;
  }

  PropertyListValue readDictionary() {
    const std::size_t first = next_;
    enterContainer();
    PropertyListDictionary entries = readEntries();
    requireIntact(!isAtEnd(), first, "a dictionary is not closed");
    requireIntact(take('}'), next_, "a key cannot begin like this");
    --nesting_;
    return entries;
  }

  void enterContainer() {
    checkPropertyListNesting(++nesting_, next_);
    ++next_;
  }

  /// Entries up to the character that ends them, which stays, or up to the end.
  PropertyListDictionary readEntries() {
    PropertyListDictionary entries;
    while (skipSpace() && (isQuote(next()) || BareCharacters.contains(next()))) {
      Text key = readText();
      skipSpace();
      // A key alone is its own value.
      PropertyListValue value = take('=') ? readValue() : key;
      skipSpace();
      requireIntact(take(';'), next_, "no semicolon ends a dictionary's entry");
      entries.insert_or_assign(std::move(key), std::move(value));
    }
    return entries;
  }

  PropertyListValue readData() {
    const std::size_t end = view_.find('>', next_);
    requireIntact(end != std::string_view::npos, next_, "data is not closed");
    ++next_;
    std::vector<std::uint8_t> bytes;
    while (next_ < end) {
      if (OpenStepSpace.contains(next())) {
        ++next_;
        continue;
      }
      const std::size_t first = next_;
      bytes.push_back(static_cast<std::uint8_t>(readDigits(16, 2)));
      requireIntact(next_ == first + 2, first,
                    "data holds something other than pairs of hexadecimal digits");
    }
    ++next_;
    return Data(std::move(bytes));
  }

  Text readText() { return isQuote(next()) ? readQuotedText() : readBareText(); }

  Text readBareText() {
    const std::size_t first = next_;
    next_ = std::min(view_.find_first_not_of(BareCharacters, first), view_.size());
    requireIntact(next_ > first, first, "no value can begin like this");
    return Text(characters_.slice(first, next_ - first));
  }

  Text readQuotedText() {
    const std::size_t opening = next_++;
    const std::array<char, 2> special = {view_[opening], '\\'};
    std::string unescaped;
    for (std::size_t first = next_;; first = next_) {
      next_ = view_.find_first_of(std::string_view(special.data(), special.size()), first);
      requireIntact(next_ < view_.size(), opening, "a quoted string is not closed");
      const std::size_t size = next_ - first;
      if (take('\\')) {
        requireIntact(!isAtEnd(), opening, "a quoted string is not closed");
        readEscape(unescaped.append(view_, first, size));
      } else {
        ++next_;
        return first == opening + 1 ? Text(characters_.slice(first, size))
                                    : Text(unescaped.append(view_, first, size));
      }
    }
  }

  /// Reads what follows a backslash, and appends the character that it stands for.
  void readEscape(std::string& text) {
    constexpr std::string_view Names = "abfnrtv";
    constexpr std::string_view Characters = "\a\b\f\n\r\t\v";
    const char name = next();
    if (name == 'U') {
      readUnicodeEscape(text);
    } else if (name >= '0' && name <= '7') {
      const std::size_t first = next_;
      const std::uint32_t byte = readDigits(8, 3);
      requireIntact(byte <= UINT8_MAX, first, "an octal escape is above 377");
      appendUtf8(text, byte < 128 ? byte : UpperNextStep[byte - 128]);
    } else {
      // Every other character stands for itself. Beyond ASCII, the rest of its bytes follow.
      const std::size_t place = Names.find(name);
      text += place == std::string_view::npos ? name : Characters[place];
      ++next_;
    }
  }

  void readUnicodeEscape(std::string& text) {
    const std::size_t first = next_++;
    std::optional<char32_t> codePoint = readDigits(16, 4);
    requireIntact(next_ > first + 1, first, "no hexadecimal digit follows \\U");
    const bool isSurrogate = *codePoint >= 0xD800 && *codePoint <= 0xDFFF;
    if (isSurrogate) {
      codePoint =
          take('\\') && take('U') ? codePointOfPair(*codePoint, readDigits(16, 4)) : std::nullopt;
    }
    requireIntact(codePoint.has_value(), first, "an escape is half a surrogate pair");
    appendUtf8(text, *codePoint);
  }

  /// The number of up to `most` digits in base 8 or 16.
  std::uint32_t readDigits(int base, std::size_t most) {
    const std::string_view digits = view_.substr(next_, most);
    std::uint32_t number = 0;
    const char* const end = std::from_chars(digits.begin(), digits.end(), number, base).ptr;
    next_ += static_cast<std::size_t>(end - digits.begin());
    return number;
  }

  /// Moves past space and comments. Whether anything is left after them.
  bool skipSpace() {
    while (!isAtEnd()) {
      if (OpenStepSpace.contains(next())) {
        ++next_;
      } else if (isNext("\u2028") || isNext("\u2029")) {
        // Unicode's separators of lines and paragraphs.
        next_ += 3;
      } else if (isNext("//")) {
        next_ = std::min(view_.find_first_of("\n\r", next_), view_.size());
      } else if (isNext("/*")) {
        const std::size_t end = view_.find("*/", next_ + 2);
        requireIntact(end != std::string_view::npos, next_, "a comment is not closed");
        next_ = end + 2;
      } else {
        return true;
      }
    }
    return false;
  }

  /// Moves past the character if it is what comes next.
  bool take(char expected) {
    const bool isNextCharacter = !isAtEnd() && next() == expected;
    next_ += isNextCharacter ? 1 : 0;
    return isNextCharacter;
  }

  [[nodiscard]] bool isAtEnd() const { return next_ == view_.size(); }
  /// The next character's first byte. There is none when isAtEnd().
  [[nodiscard]] char next() const { return view_[next_]; }
  [[nodiscard]] bool isNext(std::string_view text) const {
    return view_.substr(next_).starts_with(text);
  }

  const Data& characters_;
  std::string_view view_;
  std::size_t next_ = 0;
  std::size_t nesting_ = 0;
};

}  // namespace

std::expected<PropertyListValue, PropertyListError> readOpenStepPropertyList(
    const Data& characters) {
  try {
    return OpenStepReader(characters).readTop();
  } catch (const PropertyListDamage& damage) {
    // Whatever is in no other format ends here, such as JSON.
    return std::unexpected(
        errorOfDamage("The property list is neither binary nor XML, and as OpenStep text it",
                      viewOf(characters), damage));
  }
}

}  // namespace korvan
