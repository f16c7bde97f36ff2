#pragma once

#include <optional>
#include <string_view>

#include "platform/PropertyList.h"

// Parse the text of an XML property list's elements. Nullopt if it is malformed. Space around the
// text is ignored.

namespace korvan {

inline constexpr std::string_view XmlSpace = " \t\r\n";

/// A decimal number, or a hexadecimal one after "0x", with or without a sign, from -2^63 to 2^64-1.
[[nodiscard]] std::optional<PropertyListValue> integerOfXml(std::string_view text);

/// A decimal number, or "nan", "inf" or "infinity" in any case, with or without a sign.
[[nodiscard]] std::optional<PropertyListValue> realOfXml(std::string_view text);

/// A date and time in UTC, in the only form of ISO 8601 that property lists use:
/// "2001-01-01T00:00:00Z".
[[nodiscard]] std::optional<PropertyListValue> dateOfXml(std::string_view text);

/// Base64 (RFC 4648, section 4) with its padding, with space anywhere.
[[nodiscard]] std::optional<PropertyListValue> dataOfXml(std::string_view text);

}  // namespace korvan
