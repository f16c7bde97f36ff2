#include "platform/linux/propertylist/OpenStepPropertyListReader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/linux/propertylist/PropertyListCharacters.h"
#include "platform/linux/propertylist/PropertyListDamage.h"
#include "platform/linux/propertylist/Unicode.h"

namespace korvan {
namespace {

/// The NeXTSTEP character set, which octal escapes are in, from 128 on; what is below is ASCII. See
/// https://www.unicode.org/Public/MAPPINGS/VENDORS/NEXT/NEXTSTEP.TXT.
constexpr std::array<char16_t, 128> UpperNextStep = {
    0x00A0, 0x00C0, 0x00C1, 0x00C2, 0x00C3, 0x00C4, 0x00C5, 0x00C7, 0x00C8, 0x00C9, 0x00CA, 0x00CB,
    0x00CC, 0x00CD, 0x00CE, 0x00CF, 0x00D0, 0x00D1, 0x00D2, 0x00D3, 0x00D4, 0x00D5, 0x00D6, 0x00D9,
    0x00DA, 0x00DB, 0x00DC, 0x00DD, 0x00DE, 0x00B5, 0x00D7, 0x00F7, 0x00A9, 0x00A1, 0x00A2, 0x00A3,
    0x2044, 0x00A5, 0x0192, 0x00A7, 0x00A4, 0x2019, 0x201C, 0x00AB, 0x2039, 0x203A, 0xFB01, 0xFB02,
    0x00AE, 0x2013, 0x2020, 0x2021, 0x00B7, 0x00A6, 0x00B6, 0x2022, 0x201A, 0x201E, 0x201D, 0x00BB,
    0x2026, 0x2030, 0x00AC, 0x00BF, 0x00B9, 0x02CB, 0x00B4, 0x02C6, 0x02DC, 0x00AF, 0x02D8, 0x02D9,
    0x00A8, 0x00B2, 0x02DA, 0x00B8, 0x00B3, 0x02DD, 0x02DB, 0x02C7, 0x2014, 0x00B1, 0x00BC, 0x00BD,
    0x00BE, 0x00E0, 0x00E1, 0x00E2, 0x00E3, 0x00E4, 0x00E5, 0x00E7, 0x00E8, 0x00E9, 0x00EA, 0x00EB,
    0x00EC, 0x00C6, 0x00ED, 0x00AA, 0x00EE, 0x00EF, 0x00F0, 0x00F1, 0x0141, 0x00D8, 0x0152, 0x00BA,
    0x00F2, 0x00F3, 0x00F4, 0x00F5, 0x00F6, 0x00E6, 0x00F9, 0x00FA, 0x00FB, 0x0131, 0x00FC, 0x00FD,
    0x0142, 0x00F8, 0x0153, 0x00DF, 0x00FE, 0x00FF, 0xFFFD, 0xFFFD};

bool isBare(char character) {
  constexpr std::string_view Marks = "_$/:.-";
  return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'z') ||
         (character >= 'A' && character <= 'Z') || Marks.contains(character);
}

bool isOpenStepSpace(char character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

bool isQuote(char character) { return character == '"' || character == '\''; }

/// The digit's value. None when the character is no digit in base 8 or 16.
std::optional<std::uint32_t> digitOf(char character, int base) {
  std::uint32_t value = 0;
  const auto [end, error] = std::from_chars(&character, &character + 1, value, base);
  return error == std::errc() ? std::optional(value) : std::nullopt;
}

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
    require(isKey, next_, "more follows the value");
    next_ = first;
    PropertyListDictionary entries = readEntries();
    require(isAtEnd(), next_, "a key cannot begin like this");
    return entries;
  }

 private:
  PropertyListValue readValue() {
    skipSpace();
    require(!isAtEnd(), next_, "a value is missing");
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
    require(!isAtEnd(), first, "an array is not closed");
    require(take(')'), next_, "neither a comma nor a closing parenthesis follows an item");
    --nesting_;
    return items;
  }

  PropertyListValue readDictionary() {
    const std::size_t first = next_;
    enterContainer();
    PropertyListDictionary entries = readEntries();
    require(!isAtEnd(), first, "a dictionary is not closed");
    require(take('}'), next_, "a key cannot begin like this");
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
    while (skipSpace() && (isQuote(next()) || isBare(next()))) {
      Text key = readText();
      skipSpace();
      // A key alone is its own value.
      PropertyListValue value = take('=') ? readValue() : key;
      skipSpace();
      require(take(';'), next_, "no semicolon ends a dictionary's entry");
      entries.insert_or_assign(std::move(key), std::move(value));
    }
    return entries;
  }

  PropertyListValue readData() {
    const std::size_t end = view_.find('>', next_);
    require(end != std::string_view::npos, next_, "data is not closed");
    ++next_;
    std::vector<std::uint8_t> bytes;
    while (next_ < end) {
      if (isOpenStepSpace(next())) {
        ++next_;
        continue;
      }
      const auto high = digitOf(view_[next_], 16);
      const auto low = digitOf(view_[next_ + 1], 16);
      require(high && low, next_, "data holds something else than pairs of hexadecimal digits");
      bytes.push_back(static_cast<std::uint8_t>((*high << 4) | *low));
      next_ += 2;
    }
    ++next_;
    return Data(std::move(bytes));
  }

  Text readText() { return isQuote(next()) ? readQuotedText() : readBareText(); }

  Text readBareText() {
    const std::size_t first = next_;
    next_ = static_cast<std::size_t>(std::ranges::find_if_not(view_.substr(first), isBare) -
                                     view_.begin());
    require(next_ > first, first, "no value can begin like this");
    return Text(characters_.slice(first, next_ - first));
  }

  Text readQuotedText() {
    const std::size_t opening = next_++;
    const std::array<char, 2> special = {view_[opening], '\\'};
    std::string unescaped;
    for (std::size_t first = next_;; first = next_) {
      next_ = view_.find_first_of(std::string_view(special.data(), special.size()), first);
      require(next_ < view_.size(), opening, "a quoted string is not closed");
      const std::size_t size = next_ - first;
      if (take('\\')) {
        require(!isAtEnd(), opening, "a quoted string is not closed");
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
    } else if (digitOf(name, 8)) {
      const std::size_t first = next_;
      const std::uint32_t byte = readDigits(8, 3);
      require(byte <= UINT8_MAX, first, "an octal escape is above 377");
      appendUtf8(text, byte < 128 ? byte : UpperNextStep[byte - 128]);
    } else {
      // Every other character stands for itself; of one beyond ASCII the rest comes after this
      // byte.
      const std::size_t place = Names.find(name);
      text += place == std::string_view::npos ? name : Characters[place];
      ++next_;
    }
  }

  void readUnicodeEscape(std::string& text) {
    const std::size_t first = next_++;
    const char32_t unit = readDigits(16, 4);
    require(next_ > first + 1, first, "no hexadecimal digit follows \\U");
    const bool isSurrogate = unit >= 0xD800 && unit <= 0xDFFF;
    if (!isSurrogate) {
      appendUtf8(text, unit);
      return;
    }
    std::optional<char32_t> codePoint;
    if (take('\\') && take('U')) {
      codePoint = codePointOfPair(unit, readDigits(16, 4));
    }
    require(codePoint.has_value(), first, "an escape is half a surrogate pair");
    appendUtf8(text, *codePoint);
  }

  /// The number of up to `most` digits in base 8 or 16.
  std::uint32_t readDigits(int base, std::size_t most) {
    std::uint32_t number = 0;
    for (std::size_t count = 0; count < most && !isAtEnd(); ++count) {
      const auto digit = digitOf(next(), base);
      if (!digit) {
        break;
      }
      number = (number * static_cast<std::uint32_t>(base)) + *digit;
      ++next_;
    }
    return number;
  }

  /// Moves past space and comments. Whether anything is left after them.
  bool skipSpace() {
    while (!isAtEnd()) {
      if (isOpenStepSpace(next())) {
        ++next_;
      } else if (isNext("\u2028") || isNext("\u2029")) {
        // Unicode's separators of lines and paragraphs.
        next_ += 3;
      } else if (isNext("//")) {
        next_ = std::min(view_.find_first_of("\n\r", next_), view_.size());
      } else if (isNext("/*")) {
        const std::size_t end = view_.find("*/", next_ + 2);
        require(end != std::string_view::npos, next_, "a comment is not closed");
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

  static void require(bool isRight, std::size_t offset, const char* what) {
    if (!isRight) {
      throw PropertyListDamage{.offset = offset, .what = what};
    }
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
    return std::unexpected(errorOfDamage("OpenStep", viewOf(characters), damage));
  }
}

}  // namespace korvan
