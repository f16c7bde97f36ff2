#pragma once

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

/// Adds the command `korvan-lab sign-in`. Running it sets `exitStatus`.
void addSignInCommand(CLI::App& app, int& exitStatus);

}  // namespace korvan::lab
