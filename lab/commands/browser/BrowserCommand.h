#pragma once

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

/// Adds the command `korvan-lab browser`. Running it sets `exitStatus`.
void addBrowserCommand(CLI::App& app, int& exitStatus);

}  // namespace korvan::lab
