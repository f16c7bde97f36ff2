#pragma once

#include <charconv>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>

#include <CLI/CLI.hpp>

namespace korvan::lab {

/// The number that the whole text spells; nullopt if it is not a number, or does not fit the type.
template <typename Number>
[[nodiscard]] std::optional<Number> numberIn(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isNumber = error == std::errc() && end == text.data() + text.size();
  return isNumber ? std::optional(number) : std::nullopt;
}

/// Restricts an option to a number from `least` to `most`, which an error calls `what`, such as
/// "a number of seconds".
template <typename Number>
[[nodiscard]] CLI::Validator isNumber(const std::string& what, Number least, Number most) {
  return {[=](const std::string& text) {
            const auto number = numberIn<Number>(text);
            std::ostringstream flaw;
            if (!number || *number < least || *number > most) {
              flaw << '"' << text << "\" is not " << what << " from " << least << " to " << most;
            }
            return flaw.str();
          },
          ""};
}

}  // namespace korvan::lab
