#pragma once

#include <CLI/CLI.hpp>

namespace korvan::lab {

/// Adds `korvan-lab register`, which sets `exitStatus` when it has run.
void addRegisterCommand(CLI::App& app, int& exitStatus);

}  // namespace korvan::lab
