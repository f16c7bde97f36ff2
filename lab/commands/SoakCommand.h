#pragma once

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

/// Adds `soak`, which keeps the extension busy with a host that misbehaves; sets the exit status
/// when that is what is called.
void addSoakCommand(CLI::App& app, int& exitStatus);

}  // namespace korvan::lab
