#pragma once

#include <CLI/CLI.hpp>

namespace korvan::lab {

/// Adds the command `korvan-lab identifiers`, which prints whom the extension trusts, as JSON.
void addIdentifiersCommand(CLI::App& app);

}  // namespace korvan::lab
