#pragma once

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

/// Adds the command `korvan-lab report`. Running it sets `exitStatus`.
void addReportCommand(CLI::App& app, int& exitStatus);

}  // namespace korvan::lab
