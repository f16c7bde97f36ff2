#pragma once

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

/// Adds the command `korvan-lab configure`. Running it sets `exitStatus`.
void addConfigureCommand(CLI::App& app, int& exitStatus);

}  // namespace korvan::lab
