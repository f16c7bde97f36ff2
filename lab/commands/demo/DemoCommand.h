#pragma once

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

/// Adds the command `korvan-lab demo`. Running it sets `exitStatus`.
void addDemoCommand(CLI::App& app, int& exitStatus);

}  // namespace korvan::lab
