#pragma once

#include <CLI/CLI.hpp>

namespace korvan::lab {

/// Adds the command `korvan-lab register`. Running it sets `exitStatus`.
void addRegisterCommand(CLI::App& app, int& exitStatus);

}  // namespace korvan::lab
