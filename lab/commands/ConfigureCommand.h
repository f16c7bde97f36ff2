#pragma once

#include <CLI/CLI.hpp>

namespace korvan::lab {

/// Adds the command `korvan-lab configure`. Running it sets `exitStatus`.
void addConfigureCommand(CLI::App& app, int& exitStatus);

}  // namespace korvan::lab
