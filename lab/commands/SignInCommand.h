#pragma once

#include <CLI/CLI.hpp>

namespace korvan::lab {

/// Adds the command `korvan-lab sign-in`. Running it sets `exitStatus`.
void addSignInCommand(CLI::App& app, int& exitStatus);

}  // namespace korvan::lab
