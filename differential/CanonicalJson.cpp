#include "differential/CanonicalJson.h"

#include <bit>
#include <utility>

namespace korvan {
namespace {

constexpr std::string_view HexDigits = "0123456789abcdef";

std::string hexadecimal(std::uint64_t number, int digits) {
  std::string text;
  while (digits-- > 0) {
    text += HexDigits[(number >> (4 * digits)) & 0x0F];
  }
  return text;
}

bool needsEscape(char16_t unit) {
  constexpr char16_t FirstPrintable = 0x20;
  return unit < FirstPrintable || unit == '"' || unit == '\\';
}

std::string escape(char16_t unit) { return "\\u" + hexadecimal(unit, 4); }

}  // namespace

void CanonicalJson::integer(std::int64_t value) { tagged("integer", std::to_string(value)); }
void CanonicalJson::integer(std::uint64_t value) { tagged("integer", std::to_string(value)); }
void CanonicalJson::uid(std::uint64_t value) { tagged("uid", std::to_string(value)); }

void CanonicalJson::real(double value) {
  tagged("real", hexadecimal(std::bit_cast<std::uint64_t>(value), 16));
}

void CanonicalJson::date(double secondsSinceReferenceDate) {
  tagged("date", hexadecimal(std::bit_cast<std::uint64_t>(secondsSinceReferenceDate), 16));
}

void CanonicalJson::data(std::span<const std::uint8_t> bytes) {
  std::string digits;
  digits.reserve(2 * bytes.size());
  for (const std::uint8_t byte : bytes) {
    digits += HexDigits[byte >> 4];
    digits += HexDigits[byte & 0x0F];
  }
  tagged("data", digits);
}

void CanonicalJson::text(std::string_view utf8) {
  scalar("{\"text\":");
  quote(utf8);
  line_ += '}';
}

void CanonicalJson::text(std::u16string_view utf16) {
  scalar("{\"text\":");
  quote(utf16);
  line_ += '}';
}

void CanonicalJson::openItems(std::string_view kind) { scalar("{\"" + std::string(kind) + "\":["); }

void CanonicalJson::closeItems() { line_ += "]}"; }

void CanonicalJson::key(std::string_view utf8) {
  separate();
  line_ += '[';
  quote(utf8);
}

void CanonicalJson::key(std::u16string_view utf16) {
  separate();
  line_ += '[';
  quote(utf16);
}

std::string CanonicalJson::finish() && {
  return isFull() ? error("unfolds to more than " + std::to_string(MaxNodes) + " values")
                  : std::move(line_);
}

std::string CanonicalJson::error(std::string_view description) {
  CanonicalJson json;
  json.line_ = "{\"error\":";
  json.quote(description);
  json.line_ += '}';
  return std::move(json.line_);
}

void CanonicalJson::separate() {
  const bool isFirst = line_.empty() || line_.ends_with('[');
  if (!isFirst) {
    line_ += ',';
  }
}

void CanonicalJson::scalar(std::string_view json) {
  ++nodes_;
  if (isFull()) {
    line_.clear();
  }
  separate();
  line_ += json;
}

void CanonicalJson::tagged(std::string_view kind, std::string_view quoted) {
  scalar("{\"");
  line_.append(kind).append("\":\"").append(quoted).append("\"}");
}

void CanonicalJson::quote(std::string_view utf8) {
  line_ += '"';
  for (const char character : utf8) {
    const auto unit = static_cast<unsigned char>(character);
    needsEscape(unit) ? line_ += escape(unit) : line_ += character;
  }
  line_ += '"';
}

void CanonicalJson::quote(std::u16string_view utf16) {
  constexpr char16_t FirstBeyondAscii = 0x80;
  line_ += '"';
  for (const char16_t unit : utf16) {
    needsEscape(unit) || unit >= FirstBeyondAscii ? line_ += escape(unit)
                                                  : line_ += static_cast<char>(unit);
  }
  line_ += '"';
}

}  // namespace korvan
