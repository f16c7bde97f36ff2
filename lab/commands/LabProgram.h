#pragma once

namespace korvan::lab {

/// Runs the command that the arguments of korvan-lab name, and gives the exit status. Main thread.
/// Throws an exception derived from std::exception when the command cannot go on.
[[nodiscard]] int runLabProgram(int argc, char** argv);

}  // namespace korvan::lab
