#include "lab/commands/ConfigureCommand.h"

#include <memory>
#include <variant>

#include <CLI/CLI.hpp>

#include "lab/commands/HostChoice.h"
#include "lab/commands/Narrator.h"
#include "lab/commands/SystemOptions.h"
#include "lab/support/HelpPage.h"
#include "lab/system/Call.h"
#include "lab/system/CallRunner.h"
#include "lab/system/Screen.h"

namespace korvan::lab {
namespace {

constexpr std::string_view ConfigureHelpPage =
    R"(Usage: korvan-lab configure [options]

Opens the extension's configuration as the system's settings do: the extension
asks the host application to synchronise its configuration with the system.
Unless told where the host application is, it brings its own.

  --container DIR|none     the app group's container
  --host-application EXECUTABLE|none
                           what counts as the host; otherwise the desktop's
  --trust-anchor FILE.pem  where signatures end; otherwise the build's
  --help                   this page

The exit status is 0 when the configuration was completed, otherwise 1.

Example:
  korvan-lab configure
)";

bool configure(const LabSettings& settings) {
  Narrator narrator = Narrator::toStandardOutput();
  narrator.heading("Opening the extension's configuration");
  CallRunner runner(settings);
  const CallReport report = runner.run(configurationCall());
  narrator.messages(runner.propertyLists(), report);
  narrator.outcome(report);
  const bool completed = std::holds_alternative<CompletedConfiguration>(report.outcome);
  return narrator.verdict(completed, std::string(completed ? "Synchronised" : "Not synchronised") +
                                         " (" + durationText(report.milliseconds) + ")");
}

int run(const SystemOptions& options) {
  LabSettings settings = options.settings();
  settings.noticeMode = noticeForPeople();
  settings.recordsMessages = true;
  if (nameAHost(options)) {
    return useHost(settings, configure);
  }
  return useOwnHost(
      settings, [](const LabSettings& chosen, const auto& /*ready*/) { return configure(chosen); });
}

}  // namespace

void addConfigureCommand(CLI::App& app, int& exitStatus) {
  CLI::App& command = *app.add_subcommand("configure", "opens the extension's configuration");
  const auto options = std::make_shared<SystemOptions>();
  options->addTo(command);
  setHelpPage(command, ConfigureHelpPage);
  command.callback([options, &exitStatus] { exitStatus = run(*options); });
}

}  // namespace korvan::lab
