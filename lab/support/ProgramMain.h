#pragma once

#include <functional>

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

/// Runs `body` as the whole of the program `name`, and returns the program's exit status. What
/// `body` throws goes to standard error, as does a failure to write standard output; either makes
/// the status NotVerified. If the reader of the output goes away, writing fails, and no signal ends
/// the program. Call it first in main().
[[nodiscard]] int runProgram(const char* name, const std::function<int()>& body);

/// Writes what is left to standard output. Returns `status`, or NotVerified when the output could
/// not be written, which standard error then says. `name` is the program's.
[[nodiscard]] int statusAfterOutput(const char* name, int status);

/// Gives `app`, the program `name`, the option --version, and error messages that start with its
/// name.
void addProgramManners(CLI::App& app, const char* name);

/// Has `app` parse the arguments and run the command that they name, which may set `exitStatus`.
/// Returns `exitStatus`, or WrongUsage after an error to standard error. Help and version go to
/// standard output.
[[nodiscard]] int parseAndRun(CLI::App& app, int argc, char** argv, const int& exitStatus);

}  // namespace korvan::lab
