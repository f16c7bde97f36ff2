#pragma once

#include <cstddef>
#include <expected>
#include <string>
#include <string_view>

#include "platform/Data.h"
#include "platform/PropertyListSerialization.h"
#include "platform/linux/propertylist/PropertyListDamage.h"

namespace korvan {

/// Decodes a property list in one of the text formats into UTF-8 without a byte-order mark.
///
/// The bytes are UTF-8, with or without a byte-order mark, or UTF-16 with one. UTF-8 is shared, not
/// copied. The error names the line and column of what is not text.
[[nodiscard]] std::expected<Data, PropertyListError> propertyListCharacters(const Data& bytes);

/// The same characters as a view, valid as long as the data.
[[nodiscard]] std::string_view viewOf(const Data& characters) noexcept;

/// The place of an offset: "line 2, column 7", both counted from one. A column is a code point; a
/// line ends with LF, CR or both.
[[nodiscard]] std::string placeIn(std::string_view characters, std::size_t offset);

/// `subject` and then " is damaged at line 2, column 7: …."
[[nodiscard]] PropertyListError errorOfDamage(std::string_view subject, std::string_view characters,
                                              const PropertyListDamage& damage);

}  // namespace korvan
