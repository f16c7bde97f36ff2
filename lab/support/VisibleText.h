#pragma once

#include <string>
#include <string_view>

namespace korvan::lab {

/// `text`, which may be untrusted, on one line and safe to print on a terminal: characters that
/// control the terminal, end the line or change the text's direction are shown by their code
/// points, such as "\u{1B}", and bytes that are not UTF-8 as "\xFF".
[[nodiscard]] std::string visibleText(std::string_view text);

}  // namespace korvan::lab
