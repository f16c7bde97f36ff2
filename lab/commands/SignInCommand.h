#pragma once

#include <CLI/CLI.hpp>

namespace korvan::lab {

/// Adds `korvan-lab sign-in`, which sets `exitStatus` when it has run.
void addSignInCommand(CLI::App& app, int& exitStatus);

}  // namespace korvan::lab
