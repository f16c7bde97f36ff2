#include "lab/commands/IdentifiersCommand.h"

#include <iostream>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "channel/HostIdentifiers.h"
#include "lab/support/HelpPage.h"

namespace korvan::lab {
namespace {

constexpr std::string_view IdentifiersHelpPage =
    R"(Usage: korvan-lab identifiers

Prints whom this build of the extension trusts, as JSON: the team that signs the
host application, its bundle identifier, and the app group of its socket.

  --help  this page

Example:
  korvan-lab identifiers
)";

}  // namespace

void addIdentifiersCommand(CLI::App& app) {
  CLI::App& command = *app.add_subcommand("identifiers", "whom this build trusts");
  setHelpPage(command, IdentifiersHelpPage);
  command.callback([] {
    const nlohmann::ordered_json identifiers = {{"hostTeamIdentifier", HostTeamIdentifier},
                                                {"hostBundleIdentifier", HostBundleIdentifier},
                                                {"appGroupIdentifier", AppGroupIdentifier}};
    std::cout << identifiers.dump() << '\n' << std::flush;
  });
}

}  // namespace korvan::lab
