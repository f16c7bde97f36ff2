#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace korvan {

// Between UTF-8 and UTF-16 without a byte-order mark: U+FEFF is a character like any other.
// Foundation's own conversions leave it out at the start of a text.

/// Nullopt for a text that is not UTF-8.
[[nodiscard]] std::optional<std::u16string> utf16OfUtf8(std::string_view utf8);

/// UTF-8 has no half of a surrogate pair: each one becomes U+FFFD.
[[nodiscard]] std::string utf8OfUtf16(std::u16string_view utf16);

}  // namespace korvan
