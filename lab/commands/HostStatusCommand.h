#pragma once

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

/// Adds the command `korvan-lab host-status`. Running it sets `exitStatus`.
void addHostStatusCommand(CLI::App& app, int& exitStatus);

}  // namespace korvan::lab
