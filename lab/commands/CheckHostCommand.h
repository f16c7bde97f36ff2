#pragma once

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

/// Adds the command `korvan-lab check-host`. Running it sets `exitStatus`.
void addCheckHostCommand(CLI::App& app, int& exitStatus);

}  // namespace korvan::lab
