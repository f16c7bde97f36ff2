#pragma once

#include <string>

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab::manual {

/// The manual page of a program and all its commands, as roff, made of their help pages. `app` is
/// the program's own, has its name, and has parsed nothing.
[[nodiscard]] std::string manualPage(const CLI::App& app);

}  // namespace korvan::lab::manual
