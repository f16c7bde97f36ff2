#include "platform/linux/propertylist/OpenStepPropertyListReader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/linux/propertylist/NextStepEncoding.h"
#include "platform/linux/propertylist/PropertyListCharacters.h"
#include "platform/linux/propertylist/Unicode.h"

namespace korvan {
namespace {

bool isDigit(char character) { return character >= '0' && character <= '9'; }

bool isBare(char character) {
  constexpr std::string_view Marks = "_$/:.-";
  return isDigit(character) || (character >= 'a' && character <= 'z') ||
         (character >= 'A' && character <= 'Z') || Marks.contains(character);
}

bool isOpenStepSpace(char character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

bool isQuote(char character) { return character == '"' || character == '\''; }

/// The digit's value; none when the character is no digit in base 8 or 16.
std::optional<std::uint32_t> digitOf(char character, int base) {
  std::uint32_t value = 0;
  const auto [end, error] = std::from_chars(&character, &character + 1, value, base);
  return error == std::errc() ? std::optional(value) : std::nullopt;
}

/// The byte of two hexadecimal digits.
std::optional<std::uint8_t> byteOf(char highDigit, char lowDigit) {
  const auto high = digitOf(highDigit, 16);
  const auto low = digitOf(lowDigit, 16);
  return high && low ? std::optional(static_cast<std::uint8_t>((*high << 4) | *low)) : std::nullopt;
}

void append(std::string& text, char32_t codePoint) {
  std::array<std::uint8_t, 4> utf8{};
  std::uint8_t* end = utf8.data();
  unicode::putUtf8(end, codePoint);
  text.append(utf8.data(), end);
}

}  // namespace

std::expected<PropertyListValue, PropertyListError> OpenStepPropertyListReader::read(
    const Data& characters) {
  OpenStepPropertyListReader reader(characters);
  auto top = reader.readTop();
  if (reader.hasFailed()) {
    return std::unexpected(std::move(reader.error_));
  }
  return top;
}

OpenStepPropertyListReader::OpenStepPropertyListReader(const Data& characters) noexcept
    : characters_(characters), view_(viewOf(characters)) {}

PropertyListValue OpenStepPropertyListReader::readTop() {
  if (!skipSpace()) {
    return PropertyListDictionary();
  }
  const std::size_t first = next_;
  auto value = readValue();
  if (hasFailed() || !skipSpace()) {
    return value;
  }
  const bool isKey = value.text() != nullptr && (next() == '=' || next() == ';');
  if (!isKey) {
    fail(next_, "more follows the value");
    return {};
  }
  next_ = first;
  PropertyListDictionary dictionary = readEntries();
  if (!hasFailed() && !isAtEnd()) {
    fail(next_, "a key cannot begin like this");
  }
  return dictionary;
}

PropertyListValue OpenStepPropertyListReader::readValue() {
  if (!skipSpace()) {
    fail(next_, "a value is missing");
    return {};
  }
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

PropertyListValue OpenStepPropertyListReader::readArray() {
  const std::size_t first = next_;
  PropertyListValue::Array items;
  if (!enter()) {
    return {};
  }
  // A comma may follow the last item.
  while (skipSpace() && next() != ')') {
    items.push_back(readValue());
    if (hasFailed() || !skipSpace() || !take(',')) {
      break;
    }
  }
  --depth_;
  if (!hasFailed() && !take(')')) {
    isAtEnd() ? fail(first, "an array is not closed")
              : fail(next_, "neither a comma nor a closing parenthesis follows an item");
  }
  return items;
}

PropertyListValue OpenStepPropertyListReader::readDictionary() {
  const std::size_t first = next_;
  if (!enter()) {
    return {};
  }
  PropertyListDictionary dictionary = readEntries();
  --depth_;
  if (!hasFailed() && !take('}')) {
    isAtEnd() ? fail(first, "a dictionary is not closed")
              : fail(next_, "a key cannot begin like this");
  }
  return dictionary;
}

PropertyListDictionary OpenStepPropertyListReader::readEntries() {
  PropertyListDictionary dictionary;
  while (!hasFailed() && skipSpace() && (isQuote(next()) || isBare(next()))) {
    readEntry(dictionary);
  }
  return dictionary;
}

void OpenStepPropertyListReader::readEntry(PropertyListDictionary& dictionary) {
  const Text key = readText();
  if (hasFailed()) {
    return;
  }
  skipSpace();
  // A key alone is its own value.
  dictionary.insert_or_assign(key, take('=') ? readValue() : PropertyListValue(key));
  if (!hasFailed()) {
    skipSpace();
    if (!take(';')) {
      fail(next_, "no semicolon ends a dictionary's entry");
    }
  }
}

PropertyListValue OpenStepPropertyListReader::readData() {
  const std::size_t end = view_.find('>', next_);
  if (end == std::string_view::npos) {
    fail(next_, "data is not closed");
    return {};
  }
  ++next_;
  std::vector<std::uint8_t> bytes((end - next_) / 2);
  std::size_t count = 0;
  while (!hasFailed() && next_ < end) {
    if (isOpenStepSpace(next())) {
      ++next_;
    } else if (const auto byte = byteOf(next(), view_[next_ + 1])) {
      bytes[count++] = *byte;
      next_ += 2;
    } else {
      fail(next_, "data holds something else than pairs of hexadecimal digits");
    }
  }
  next_ = end + 1;
  bytes.resize(count);
  return Data(std::move(bytes));
}

Text OpenStepPropertyListReader::readText() {
  return isQuote(next()) ? readQuotedText() : readBareText();
}

Text OpenStepPropertyListReader::readBareText() {
  const auto* const end = std::ranges::find_if_not(view_.substr(next_), isBare);
  const auto size = static_cast<std::size_t>(end - &view_[next_]);
  if (size == 0) {
    fail(next_, "no value can begin like this");
    return {};
  }
  return Text(characters_.slice(std::exchange(next_, next_ + size), size));
}

Text OpenStepPropertyListReader::readQuotedText() {
  const std::size_t opening = next_;
  const char quote = next();
  const std::array<char, 2> special = {quote, '\\'};
  const std::string_view specials(special.data(), special.size());
  std::string text;
  for (std::size_t first = ++next_; !hasFailed(); first = next_) {
    next_ = std::min(view_.find_first_of(specials, first), view_.size());
    if (isAtEnd()) {
      fail(opening, "a quoted string is not closed");
    } else if (take(quote)) {
      const std::size_t size = next_ - 1 - first;
      return text.empty() && first == opening + 1 ? Text(characters_.slice(first, size))
                                                  : Text(text.append(view_, first, size));
    } else {
      text.append(view_, first, next_++ - first);
      readEscape(text);
    }
  }
  return {};
}

void OpenStepPropertyListReader::readEscape(std::string& text) {
  if (isAtEnd()) {
    return;
  }
  constexpr std::string_view Names = "abfnrtv";
  constexpr std::string_view Characters = "\a\b\f\n\r\t\v";
  const char name = next();
  if (name == 'U') {
    readUnicodeEscape(text);
  } else if (digitOf(name, 8)) {
    const std::size_t first = next_;
    const std::uint32_t byte = readDigits(8, 3);
    if (byte > UINT8_MAX) {
      fail(first, "an octal escape is above 377");
      return;
    }
    append(text, codePointOfNextStep(static_cast<std::uint8_t>(byte)));
  } else {
    // Every other character stands for itself; of one beyond ASCII the rest comes after this byte.
    const std::size_t place = Names.find(name);
    text += place == std::string_view::npos ? name : Characters[place];
    ++next_;
  }
}

void OpenStepPropertyListReader::readUnicodeEscape(std::string& text) {
  constexpr std::size_t Digits = 4;
  constexpr char32_t FirstSurrogate = 0xD800;
  constexpr char32_t LastSurrogate = 0xDFFF;
  const std::size_t first = next_++;
  const char32_t unit = readDigits(16, Digits);
  if (next_ == first + 1) {
    fail(first, "no hexadecimal digit follows \\U");
    return;
  }
  if (unit < FirstSurrogate || unit > LastSurrogate) {
    append(text, unit);
    return;
  }
  constexpr std::string_view Prefix = "\\U";
  std::optional<char32_t> codePoint;
  if (isNext(Prefix)) {
    next_ += Prefix.size();
    codePoint = unicode::codePointOfPair(unit, readDigits(16, Digits));
  }
  if (!codePoint) {
    fail(first, "an escape is half a surrogate pair");
    return;
  }
  append(text, *codePoint);
}

std::uint32_t OpenStepPropertyListReader::readDigits(int base, std::size_t most) {
  const auto shift = base == 8 ? 3U : 4U;
  std::uint32_t number = 0;
  for (std::size_t count = 0; count < most && !isAtEnd(); ++count) {
    const auto digit = digitOf(next(), base);
    if (!digit) {
      break;
    }
    number = (number << shift) | *digit;
    ++next_;
  }
  return number;
}

bool OpenStepPropertyListReader::skipSpace() {
  // Unicode's line separator and paragraph separator count as space.
  constexpr std::string_view LineSeparator = "\xE2\x80\xA8";
  constexpr std::string_view ParagraphSeparator = "\xE2\x80\xA9";
  while (!isAtEnd()) {
    if (isOpenStepSpace(next())) {
      ++next_;
    } else if (isNext(LineSeparator) || isNext(ParagraphSeparator)) {
      next_ += LineSeparator.size();
    } else if (isNext("//") || isNext("/*")) {
      skipComment();
    } else {
      return true;
    }
  }
  return false;
}

void OpenStepPropertyListReader::skipComment() {
  constexpr std::size_t MarkSize = 2;
  const bool isLine = isNext("//");
  const std::size_t first = next_;
  next_ += MarkSize;
  const std::size_t end = isLine ? view_.find_first_of("\n\r", next_) : view_.find("*/", next_);
  if (end == std::string_view::npos) {
    next_ = view_.size();
    if (!isLine) {
      fail(first, "a comment is not closed");
    }
  } else {
    next_ = isLine ? end : end + MarkSize;
  }
}

bool OpenStepPropertyListReader::take(char expected) {
  if (isAtEnd() || next() != expected) {
    return false;
  }
  ++next_;
  return true;
}

bool OpenStepPropertyListReader::enter() {
  if (depth_ == MaxPropertyListNesting) {
    return fail(next_,
                "more than " + std::to_string(MaxPropertyListNesting) + " containers are nested");
  }
  ++depth_;
  ++next_;
  return true;
}

bool OpenStepPropertyListReader::fail(std::size_t offset, std::string_view what) {
  // What comes first is the cause.
  if (!hasFailed()) {
    error_ = damageAt("OpenStep", view_, offset, what);
  }
  return false;
}

}  // namespace korvan
