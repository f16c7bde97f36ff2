#pragma once

#include <string>

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab::manual {

/// The script that completes a program's arguments in bash. `app` is the program's own, has its
/// name, and has parsed nothing.
[[nodiscard]] std::string bashCompletion(const CLI::App& app);

/// The same for zsh, a function that its completion system loads.
[[nodiscard]] std::string zshCompletion(const CLI::App& app);

}  // namespace korvan::lab::manual
