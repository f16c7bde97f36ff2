#include "lab/commands/ConfigureCommand.h"

#include <memory>
#include <variant>

#include <CLI/CLI.hpp>

#include "lab/commands/CallWatch.h"
#include "lab/commands/HostChoice.h"
#include "lab/commands/Narrator.h"
#include "lab/commands/SystemOptions.h"
#include "lab/site/WireAnswer.h"
#include "lab/support/HelpPage.h"
#include "lab/system/Call.h"
#include "lab/system/CallRunner.h"
#include "lab/system/views/Screen.h"

namespace korvan::lab {
namespace {

constexpr std::string_view ConfigureHelpPage =
    R"(Usage: korvan-lab configure [options]

Opens the extension's configuration as the system's settings do. The extension
then asks the host application to synchronize with the system.
Starts a sample host of its own unless you name one.

  --container DIR|none     the app group's container
  --host-application EXECUTABLE|none
                           the host application; default: the desktop's
  --trust-anchor FILE.pem  the root of trusted signatures; default: the build's
  --timeout SECONDS        gives up when the host takes longer; default: never
  --show-messages          accepted; messages are always printed
  --help                   this page

Exit status: 0 when the configuration was completed, 1 when not, 2 for a
usage error, 3 without a host.

Example:
  korvan-lab configure
)";

bool configure(const LabSettings& settings) {
  Narrator narrator = Narrator::toStandardOutput();
  narrator.heading("Opening the extension's configuration");
  CallRunner runner(settings);
  watch(runner, narrator, true);
  const CallResult result = runner.run(configurationCall());
  narrator.silence(result);
  const FindingList findings = judgeWireAnswer(runner.propertyLists(), result, false);
  narrator.result(result, findings);
  tellLaunch(runner, narrator, result);
  const bool completed = std::holds_alternative<CompletedConfiguration>(result.outcome);
  const std::string words = completed ? "Synchronized" : "Not synchronized";
  return narrator.verdict(completed && isVerified(findings),
                          words +
                              (completed && !isVerified(findings) ? ", by a flawed answer" : "") +
                              " (" + durationText(result.milliseconds) + ")");
}

int run(const SystemOptions& options) {
  LabSettings settings = options.settings();
  settings.noticeMode = noticeForPeople();
  if (namesHost(options)) {
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
