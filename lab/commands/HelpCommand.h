#pragma once

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

/// Adds the command `korvan-lab help`, which prints the help page of another one.
void addHelpCommand(CLI::App& app);

}  // namespace korvan::lab
