#include "lab/commands/LabProgram.h"

#include <cstdlib>
#include <string_view>

#include <CLI/CLI.hpp>

#include "lab/commands/CallCommand.h"
#include "lab/commands/CheckHostCommand.h"
#include "lab/commands/ConfigureCommand.h"
#include "lab/commands/DemoCommand.h"
#include "lab/commands/IdentifiersCommand.h"
#include "lab/commands/RegisterCommand.h"
#include "lab/commands/ReportCommand.h"
#include "lab/commands/SignInCommand.h"
#include "lab/commands/SoakCommand.h"
#include "lab/support/HelpPage.h"
#include "lab/support/UsageError.h"

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
  check-host   says what is wrong with a host
  soak         sends many requests to hosts that misbehave, and checks outcomes
  call         calls entry points for scripts: lines of JSON in and out
  identifiers  prints whom this build of the extension trusts

Each command has its own --help.

Example:
  korvan-lab demo
)";

}  // namespace

int runLabProgram(int argc, char** argv) {
  CLI::App app;
  int exitStatus = EXIT_SUCCESS;
  app.require_subcommand(1);
  app.failure_message(usageError);
  setHelpPage(app, ProgramHelpPage);
  addDemoCommand(app, exitStatus);
  addRegisterCommand(app, exitStatus);
  addSignInCommand(app, exitStatus);
  addConfigureCommand(app, exitStatus);
  addReportCommand(app, exitStatus);
  addCheckHostCommand(app, exitStatus);
  addSoakCommand(app, exitStatus);
  addCallCommand(app, exitStatus);
  addIdentifiersCommand(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
  }
  return exitStatus;
}

}  // namespace korvan::lab
