#pragma once

#include <string>

namespace CLI {
class App;
class Error;
}  // namespace CLI

namespace korvan::lab {

/// A line that says what is wrong with the program's arguments, and what would be right. `error`
/// came from parsing `app`, the program's own.
[[nodiscard]] std::string usageError(const CLI::App* app, const CLI::Error& error);

}  // namespace korvan::lab
