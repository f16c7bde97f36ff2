#pragma once

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

/// Adds the command `korvan-lab identifiers`, which prints whom the extension trusts, as JSON.
void addIdentifiersCommand(CLI::App& app);

}  // namespace korvan::lab
