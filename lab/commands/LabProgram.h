#pragma once

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

inline constexpr const char* LabProgramName = "korvan-lab";

/// Gives `app` all commands and options of korvan-lab. A command that runs sets `exitStatus`, which
/// outlives `app`.
void describeLabProgram(CLI::App& app, int& exitStatus);

/// Runs the command that the arguments of korvan-lab name, and gives the exit status. Main thread.
/// Throws an exception derived from std::exception when the command cannot go on.
[[nodiscard]] int runLabProgram(int argc, char** argv);

}  // namespace korvan::lab
