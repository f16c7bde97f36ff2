#pragma once

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

/// Adds the command `korvan-lab register`. Running it sets `exitStatus`.
void addRegisterCommand(CLI::App& app, int& exitStatus);

}  // namespace korvan::lab
