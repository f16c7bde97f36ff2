#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/Data.h"
#include "platform/PropertyList.h"

namespace korvan::lab {

/// A value's kind, such as "a string" or "data".
[[nodiscard]] std::string kindOf(const PropertyListValue& value);

/// A value with its kind, on one line and safe to print on a terminal; a long one is truncated.
[[nodiscard]] std::string wordsFor(const PropertyListValue& value);

/// The number of bytes, and the first of them in hexadecimal.
[[nodiscard]] std::string wordsFor(const Data& bytes);

/// A text in quotation marks, safe to print on a terminal; a long one is truncated.
[[nodiscard]] std::string quotedText(std::string_view text);

/// Bytes in hexadecimal, without separators.
[[nodiscard]] std::string hexadecimalOf(std::span<const std::uint8_t> bytes);

/// The bytes that a text stands for, and the way it writes them, such as "base64".
struct WrittenBytes {
  Data bytes;
  std::string_view writing;
};

/// Nullopt unless the whole of `text` is hexadecimal or some form of base64, and not empty. Many
/// words are base64 by chance.
[[nodiscard]] std::optional<WrittenBytes> bytesWrittenAs(std::string_view text);

/// True for two different names that have the same letters and digits, ignoring case.
[[nodiscard]] bool differInSpelling(std::string_view left, std::string_view right);

/// SHA-256. Throws std::runtime_error when the cryptographic library fails.
[[nodiscard]] Data sha256(std::span<const std::uint8_t> bytes);
[[nodiscard]] Data sha256(std::string_view text);

/// How `got` arose from `wanted`, if one of the usual mistakes explains it; otherwise empty.
[[nodiscard]] std::string mistakeBetween(const Data& wanted, const Data& got);

}  // namespace korvan::lab
