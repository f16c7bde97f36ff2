#pragma once

#include <istream>
#include <ostream>

#include <CLI/CLI.hpp>

#include "lab/json/OutcomeWriter.h"
#include "lab/system/CallRunner.h"

namespace korvan::lab {

/// Adds `korvan-lab call`, which sets `exitStatus` when it has run.
void addCallCommand(CLI::App& app, int& exitStatus);

/// Serves every line of `input` that is not blank, in order, and writes each answer out before it
/// reads on. True when every line was a call. Throws std::runtime_error when an answer cannot be
/// written.
[[nodiscard]] bool serveLines(std::istream& input, std::ostream& output, CallRunner& runner,
                              const OutcomeWriter& writer);

}  // namespace korvan::lab
