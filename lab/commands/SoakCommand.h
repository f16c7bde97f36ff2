#pragma once

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

/// Adds the command `korvan-lab soak`. Running it sets `exitStatus`.
void addSoakCommand(CLI::App& app, int& exitStatus);

}  // namespace korvan::lab
