#include "lab/commands/demo/DemoCommand.h"

#include <filesystem>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

#include "lab/commands/Narrator.h"
#include "lab/commands/demo/Demo.h"
#include "lab/processes/Supervisor.h"
#include "lab/support/ExitStatus.h"
#include "lab/support/HelpPage.h"
#include "lab/support/NumberOption.h"

namespace korvan::lab {
namespace {

constexpr std::string_view DemoHelpPage =
    R"(Usage: korvan-lab demo [--step NUMBER]

Shows what the extension does, with sample hosts of its own: sign-ins and new
passkeys with and without the user, a host that must be opened first, refusals,
reports, the configuration, an impostor and the notice. Everything happens in a
private directory, removed at the end.

  --step NUMBER  only the step with this number, 1 to 16
  --help         this page

Exit status: 0 when every step was verified, 1 when not, 2 for a usage error.

Example:
  korvan-lab demo --step 2
)";

}  // namespace

void addDemoCommand(CLI::App& app, int& exitStatus) {
  CLI::App& command = *app.add_subcommand("demo", "the whole tour, with sample hosts of its own");
  const auto step = std::make_shared<std::optional<std::size_t>>();
  command.add_option("--step", *step)
      ->check(isNumber("the number of a step", std::size_t{1}, DemoStepCount));
  setHelpPage(command, DemoHelpPage);
  command.callback([&app, &exitStatus, step] {
    exitStatus = runSupervised([&app, step](const std::filesystem::path& directory) {
      Narrator narrator = Narrator::toStandardOutput();
      return runDemo(narrator, directory, app.get_name(), *step) ? Well : NotVerified;
    });
  });
}

}  // namespace korvan::lab
