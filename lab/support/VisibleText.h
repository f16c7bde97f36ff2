#pragma once

#include <string>
#include <string_view>

namespace korvan::lab {

/// `text`, which may come from a stranger, on one line and fit for a terminal: characters that
/// control the terminal, end the line or change the direction of writing are shown by their
/// numbers, such as "\u{1B}", and bytes that are not UTF-8 as "\xFF".
[[nodiscard]] std::string visibleText(std::string_view text);

}  // namespace korvan::lab
