#pragma once

#include <istream>
#include <ostream>

#include "lab/json/OutcomeWriter.h"
#include "lab/system/CallRunner.h"

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

/// Adds the command `korvan-lab call`. Running it sets `exitStatus`.
void addCallCommand(CLI::App& app, int& exitStatus);

/// Serves every line of `input` that is not blank, in order, and flushes each answer before it
/// reads the next line. True when every line was a call. Reads no further once `output` has failed.
[[nodiscard]] bool serveLines(std::istream& input, std::ostream& output, CallRunner& runner,
                              const OutcomeWriter& writer);

}  // namespace korvan::lab
