#include "platform/linux/propertylist/XmlPropertyListScalars.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <system_error>
#include <utility>
#include <vector>

namespace korvan {
namespace {

std::string_view trimmed(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(XmlSpace), text.size()));
  return text.substr(0, text.find_last_not_of(XmlSpace) + 1);
}

/// Takes a sign off the front; whether it was a minus.
bool takeSign(std::string_view& text) {
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) {
    text.remove_prefix(1);
  }
  return isNegative;
}

/// The number that the whole text is, without a sign.
template <typename Number, typename... Format>
std::optional<Number> numberOf(std::string_view text, Format... format) {
  Number number{};
  const auto [end, error] = std::from_chars(text.begin(), text.end(), number, format...);
  const bool isWhole = error == std::errc() && end == text.end() && !text.starts_with('-');
  return isWhole ? std::optional(number) : std::nullopt;
}

/// Takes a field of exactly so many digits, and the mark after it, off the front.
std::optional<int> takeField(std::string_view& text, std::size_t digits, char mark) {
  if (text.size() <= digits || text[digits] != mark) {
    return std::nullopt;
  }
  const auto field = numberOf<int>(text.substr(0, digits), 10);
  text.remove_prefix(digits + 1);
  return field;
}

}  // namespace

std::optional<PropertyListValue> integerOfXml(std::string_view text) {
  text = trimmed(text);
  const bool isNegative = takeSign(text);
  const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
  const auto magnitude =
      numberOf<std::uint64_t>(text.substr(isHexadecimal ? 2 : 0), isHexadecimal ? 16 : 10);
  constexpr std::uint64_t LargestNegative = std::uint64_t{1} << 63;
  if (!magnitude || (isNegative && *magnitude > LargestNegative)) {
    return std::nullopt;
  }
  return isNegative ? PropertyListValue(static_cast<std::int64_t>(0 - *magnitude))
                    : PropertyListValue(*magnitude);
}

std::optional<PropertyListValue> realOfXml(std::string_view text) {
  text = trimmed(text);
  const bool isNegative = takeSign(text);
  const auto magnitude = numberOf<double>(text, std::chars_format::general);
  if (!magnitude) {
    return std::nullopt;
  }
  return PropertyListValue(isNegative ? -*magnitude : *magnitude);
}

std::optional<PropertyListValue> dateOfXml(std::string_view text) {
  text = trimmed(text);
  const bool isNegative = text.starts_with('-');
  text.remove_prefix(isNegative ? 1 : 0);
  const auto year = takeField(text, 4, '-');
  const auto month = takeField(text, 2, '-');
  const auto day = takeField(text, 2, 'T');
  const auto hour = takeField(text, 2, ':');
  const auto minute = takeField(text, 2, ':');
  const auto second = takeField(text, 2, 'Z');
  if (!year || !month || !day || !hour || !minute || !second || !text.empty()) {
    return std::nullopt;
  }
  using namespace std::chrono;
  const year_month_day date(std::chrono::year(isNegative ? -*year : *year),
                            std::chrono::month(static_cast<unsigned>(*month)),
                            std::chrono::day(static_cast<unsigned>(*day)));
  if (!date.ok() || *hour > 23 || *minute > 59 || *second > 59) {
    return std::nullopt;
  }
  constexpr sys_days ReferenceDate = January / 1 / 2001;
  const seconds sinceReferenceDate =
      (sys_days(date) - ReferenceDate) + hours(*hour) + minutes(*minute) + seconds(*second);
  return PropertyListDate{static_cast<double>(sinceReferenceDate.count())};
}

std::optional<PropertyListValue> dataOfXml(std::string_view text) {
  constexpr std::string_view Digits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  constexpr std::size_t GroupSize = 4;
  std::vector<std::uint8_t> bytes;
  std::size_t digits = 0;
  std::size_t padding = 0;
  std::size_t bits = 0;
  for (const char character : text) {
    const std::size_t value = Digits.find(character);
    if (character == '=') {
      ++padding;
    } else if (value != std::string_view::npos && padding == 0) {
      bits = (bits << 6) | value;
      // Each digit but the first of a group completes a byte.
      if (const std::size_t place = digits++ % GroupSize; place != 0) {
        bytes.push_back(static_cast<std::uint8_t>(bits >> (2 * (GroupSize - 1 - place))));
      }
    } else if (!XmlSpace.contains(character)) {
      return std::nullopt;
    }
  }
  const std::size_t missing = (GroupSize - digits % GroupSize) % GroupSize;
  if (padding != missing || missing == 3) {
    return std::nullopt;
  }
  return PropertyListValue(Data(std::move(bytes)));
}

}  // namespace korvan
