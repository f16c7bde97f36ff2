#pragma once

#include <CLI/CLI.hpp>

namespace korvan::lab {

/// Adds `korvan-lab configure`, which sets `exitStatus` when it has run.
void addConfigureCommand(CLI::App& app, int& exitStatus);

}  // namespace korvan::lab
