#include "lab/site/ValueWords.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <ranges>
#include <sstream>
#include <stdexcept>
#include <vector>

#include <openssl/evp.h>

#include "lab/support/Base64Url.h"
#include "lab/support/VisibleText.h"

namespace korvan::lab {
namespace {

constexpr std::size_t MostBytesShown = 40;
constexpr std::size_t MostTextShown = 120;
constexpr std::size_t HashSize = 32;

std::string_view asText(const Data& bytes) {
  return {reinterpret_cast<const char*>(bytes.bytes().data()), bytes.size()};
}

std::span<const std::uint8_t> asBytes(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::optional<Data> fromHexadecimal(std::string_view text) {
  const bool isHexadecimal =
      text.size() % 2 == 0 &&
      std::ranges::all_of(text, [](unsigned char each) { return std::isxdigit(each) != 0; });
  if (!isHexadecimal) {
    return std::nullopt;
  }
  std::vector<std::uint8_t> bytes;
  for (std::size_t at = 0; at < text.size(); at += 2) {
    bytes.push_back(
        static_cast<std::uint8_t>(std::stoi(std::string(text.substr(at, 2)), nullptr, 16)));
  }
  return Data(std::move(bytes));
}

/// With either alphabet, with padding or without.
std::optional<Data> fromAnyBase64(std::string_view text) {
  std::string plain(text.substr(0, text.find('=')));
  if (text.find_first_not_of('=', plain.size()) != std::string_view::npos) {
    return std::nullopt;
  }
  std::ranges::replace(plain, '+', '-');
  std::ranges::replace(plain, '/', '_');
  return fromBase64Url(plain);
}

/// Letters and digits in lower case.
std::string withoutSpelling(std::string_view name) {
  std::string plain;
  for (const char character : name) {
    const auto each = static_cast<unsigned char>(character);
    if (std::isalnum(each) != 0) {
      plain += static_cast<char>(std::tolower(each));
    }
  }
  return plain;
}

std::string scalarWords(const PropertyListValue& value) {
  if (const auto boolean = value.boolean()) {
    return *boolean ? "true" : "false";
  }
  if (const auto integer = value.integer()) {
    return "the integer " + std::to_string(*integer);
  }
  if (const auto integer = value.largeInteger()) {
    return "the integer " + std::to_string(*integer);
  }
  if (const auto real = value.real()) {
    std::ostringstream words;
    words << "the real number " << *real;
    return words.str();
  }
  return kindOf(value);
}

}  // namespace

std::string kindOf(const PropertyListValue& value) {
  if (value.text() != nullptr) {
    return "a string";
  }
  if (value.data() != nullptr) {
    return "data";
  }
  if (value.array() != nullptr) {
    return "an array";
  }
  if (value.dictionary() != nullptr) {
    return "a dictionary";
  }
  if (value.boolean()) {
    return "a boolean";
  }
  if (value.integer() || value.largeInteger()) {
    return "an integer";
  }
  if (value.real()) {
    return "a real number";
  }
  if (value.date()) {
    return "a date";
  }
  if (value.uid()) {
    return "a keyed archiver's reference";
  }
  return value.set() != nullptr ? "a set" : "null";
}

std::string wordsFor(const PropertyListValue& value) {
  if (const auto* text = value.text()) {
    return "the string " + quotedText(text->view());
  }
  if (const auto* data = value.data()) {
    return "data, " + wordsFor(*data);
  }
  if (const auto* array = value.array()) {
    return "an array of " + std::to_string(array->size());
  }
  if (const auto* dictionary = value.dictionary()) {
    return "a dictionary of " + std::to_string(dictionary->size());
  }
  return scalarWords(value);
}

std::string wordsFor(const Data& bytes) {
  const bool isLong = bytes.size() > MostBytesShown;
  const std::string count = std::to_string(bytes.size()) + (bytes.size() == 1 ? " byte" : " bytes");
  const std::string shown =
      hexadecimalOf(bytes.bytes().first(std::min(bytes.size(), MostBytesShown)));
  return bytes.empty() ? "no bytes" : count + ": " + shown + (isLong ? "…" : "");
}

std::string quotedText(std::string_view text) {
  const bool isLong = text.size() > MostTextShown;
  return "\"" + visibleText(text.substr(0, MostTextShown)) + (isLong ? "…" : "") + "\"";
}

std::string hexadecimalOf(std::span<const std::uint8_t> bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += digits[byte >> 4U];
    text += digits[byte & 0xFU];
  }
  return text;
}

std::optional<WrittenBytes> bytesWrittenAs(std::string_view text) {
  if (text.empty()) {
    return std::nullopt;
  }
  if (const auto bytes = fromHexadecimal(text)) {
    return WrittenBytes{.bytes = *bytes, .writing = "hexadecimal"};
  }
  if (const auto bytes = fromBase64Url(text)) {
    return WrittenBytes{.bytes = *bytes, .writing = "base64url"};
  }
  const auto bytes = fromAnyBase64(text);
  return bytes ? std::optional(WrittenBytes{.bytes = *bytes, .writing = "base64"}) : std::nullopt;
}

bool differInSpelling(std::string_view left, std::string_view right) {
  return left != right && withoutSpelling(left) == withoutSpelling(right);
}

Data sha256(std::span<const std::uint8_t> bytes) {
  std::vector<std::uint8_t> hash(HashSize);
  if (EVP_Digest(bytes.data(), bytes.size(), hash.data(), nullptr, EVP_sha256(), nullptr) != 1) {
    throw std::runtime_error("a SHA-256 cannot be computed");
  }
  return hash;
}

Data sha256(std::string_view text) { return sha256(asBytes(text)); }

std::string mistakeBetween(const Data& wanted, const Data& got) {
  if (got.empty()) {
    return "it is empty";
  }
  if (const auto written = bytesWrittenAs(asText(got)); written && written->bytes == wanted) {
    return "the right bytes, but written as " + std::string(written->writing) + " text";
  }
  if (got == sha256(wanted.bytes())) {
    return "the SHA-256 of the right bytes: hashed once too often";
  }
  if (std::ranges::equal(got.bytes() | std::views::reverse, wanted.bytes())) {
    return "the right bytes in reverse order";
  }
  if (got.size() < wanted.size() && wanted.slice(0, got.size()) == got) {
    return "cut short";
  }
  if (got.size() > wanted.size() && got.slice(0, wanted.size()) == wanted) {
    return std::to_string(got.size() - wanted.size()) + " bytes too many at the end";
  }
  return {};
}

}  // namespace korvan::lab
