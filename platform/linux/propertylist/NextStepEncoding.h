#pragma once

#include <cstdint>

namespace korvan {

/// The code point of a byte in the NeXTSTEP character set, which octal escapes in OpenStep property
/// lists are in; U+FFFD for the two that stand for none. See
/// https://www.unicode.org/Public/MAPPINGS/VENDORS/NEXT/NEXTSTEP.TXT.
[[nodiscard]] char32_t codePointOfNextStep(std::uint8_t byte) noexcept;

}  // namespace korvan
