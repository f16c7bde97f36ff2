#include "lab/commands/LabProgram.h"

#include <string_view>

#include <CLI/CLI.hpp>
#include <unistd.h>

#include "lab/browser/BrowserBridge.h"
#include "lab/commands/CallCommand.h"
#include "lab/commands/CheckHostCommand.h"
#include "lab/commands/ConfigureCommand.h"
#include "lab/commands/HelpCommand.h"
#include "lab/commands/HostStatusCommand.h"
#include "lab/commands/IdentifiersCommand.h"
#include "lab/commands/RegisterCommand.h"
#include "lab/commands/ReportCommand.h"
#include "lab/commands/SignInCommand.h"
#include "lab/commands/SoakCommand.h"
#include "lab/commands/browser/BrowserCommand.h"
#include "lab/commands/demo/DemoCommand.h"
#include "lab/support/ExitStatus.h"
#include "lab/support/HelpPage.h"
#include "lab/support/ProgramMain.h"

namespace korvan::lab {
namespace {

constexpr std::string_view ProgramHelpPage =
    R"(Usage: korvan-lab COMMAND [options]

Plays the operating system for the Korvan AutoFill extension: calls its entry
points, runs the main loop, and shows what the extension told the system.

  demo         runs the whole tour, with sample hosts of its own
  register     makes a passkey, checks it as a web site does, and signs in
  sign-in      signs in with a passkey, and checks the answer as a web site does
  configure    opens the extension's configuration
  report       passes on a web site's report about a user's name or passkeys
  browser      opens a browser whose passkey requests the extension answers
  check-host   checks a host, and says what is wrong with it
  host-status  shows who listens for the extension, and how it is signed
  soak         sends many requests to hosts that misbehave, and checks outcomes
  call         calls entry points for scripts: lines of JSON in and out
  identifiers  prints whom this build of the extension trusts
  help         prints the help page of a command; the same as COMMAND --help

  --version    prints the version
  --help       this page

Exit status: 0 when all is well, 1 when something was not verified or the lab
could not continue, 2 for a usage error, 3 when there is no host to talk to.

Example:
  korvan-lab demo
)";

/// What the browser starts for each request, with the profile's directory and arguments of its own.
/// No command, since it is not for people.
constexpr std::string_view BridgeCommand = "browser-bridge";

}  // namespace

void describeLabProgram(CLI::App& app, int& exitStatus) {
  app.require_subcommand(1);
  addProgramManners(app, LabProgramName);
  setHelpPage(app, ProgramHelpPage);
  addDemoCommand(app, exitStatus);
  addRegisterCommand(app, exitStatus);
  addSignInCommand(app, exitStatus);
  addConfigureCommand(app, exitStatus);
  addReportCommand(app, exitStatus);
  addBrowserCommand(app, exitStatus);
  addCheckHostCommand(app, exitStatus);
  addHostStatusCommand(app, exitStatus);
  addSoakCommand(app, exitStatus);
  addCallCommand(app, exitStatus);
  addIdentifiersCommand(app);
  addHelpCommand(app);
}

int runLabProgram(int argc, char** argv) {
  if (argc > 2 && argv[1] == BridgeCommand) {
    return runBrowserBridge(argv[2], STDIN_FILENO, STDOUT_FILENO);
  }
  CLI::App app;
  int exitStatus = Well;
  describeLabProgram(app, exitStatus);
  return parseAndRun(app, argc, argv, exitStatus);
}

}  // namespace korvan::lab
