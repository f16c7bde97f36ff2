#pragma once

#include <CLI/CLI.hpp>

namespace korvan::lab {

/// Adds `korvan-lab report`, which sets `exitStatus` when it has run.
void addReportCommand(CLI::App& app, int& exitStatus);

}  // namespace korvan::lab
