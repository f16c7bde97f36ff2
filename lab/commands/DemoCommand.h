#pragma once

#include <CLI/CLI.hpp>

namespace korvan::lab {

/// Adds `korvan-lab demo`, which sets `exitStatus` when it has run.
void addDemoCommand(CLI::App& app, int& exitStatus);

}  // namespace korvan::lab
