#include <clocale>
#include <cstdlib>
#include <exception>
#include <iostream>

#include <CLI/CLI.hpp>

#include "lab/commands/CallCommand.h"
#include "lab/commands/ConfigureCommand.h"
#include "lab/commands/DemoCommand.h"
#include "lab/commands/IdentifiersCommand.h"
#include "lab/commands/RegisterCommand.h"
#include "lab/commands/ReportCommand.h"
#include "lab/commands/SignInCommand.h"
#include "lab/soak/SoakCommand.h"
#include "lab/support/HelpPage.h"
#include "lab/support/UsageError.h"

namespace {

constexpr std::string_view HelpPage =
    R"(Usage: korvan-lab COMMAND [options]

Plays the operating system for the Korvan AutoFill extension: calls its entry
points, runs the main loop, and shows what the extension told the system.

  demo         the whole tour, with sample hosts of its own
  register     makes a passkey, checks it as a web site does, and signs in
  sign-in      signs in with a passkey, and checks the answer as a web site does
  configure    opens the extension's configuration
  report       passes on what a web site reports of a user's name or passkeys
  soak         many requests to hosts that misbehave, each outcome verified
  call         calls entry points, for scripts: lines of JSON in and out
  identifiers  whom this build of the extension trusts

Each command has its own --help.

Example:
  korvan-lab demo
)";

int run(int argc, char** argv) {
  CLI::App app;
  int exitStatus = EXIT_SUCCESS;
  app.require_subcommand(1);
  app.failure_message(korvan::lab::usageError);
  korvan::lab::setHelpPage(app, HelpPage);
  korvan::lab::addDemoCommand(app, exitStatus);
  korvan::lab::addRegisterCommand(app, exitStatus);
  korvan::lab::addSignInCommand(app, exitStatus);
  korvan::lab::addConfigureCommand(app, exitStatus);
  korvan::lab::addReportCommand(app, exitStatus);
  korvan::lab::soak::addSoakCommand(app, exitStatus);
  korvan::lab::addCallCommand(app, exitStatus);
  korvan::lab::addIdentifiersCommand(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
  }
  return exitStatus;
}

}  // namespace

int main(int argc, char** argv) {
  // The notice speaks the language of whoever runs this; numbers stay as they are. There are no
  // threads yet.
  std::setlocale(LC_MESSAGES, "");  // NOLINT(concurrency-mt-unsafe)
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << "korvan-lab: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
