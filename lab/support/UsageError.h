#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace korvan::lab {

/// What is wrong with the program's arguments and what would be right, with the end of the line.
/// Called for an `error` of parsing `app`, the program's own.
[[nodiscard]] std::string usageError(const CLI::App* app, const CLI::Error& error);

}  // namespace korvan::lab
