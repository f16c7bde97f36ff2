#include "lab/commands/CheckHostCommand.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include <CLI/CLI.hpp>
#include <glib.h>
#include <unistd.h>

#include "channel/HostIdentifiers.h"
#include "lab/check/Catalog.h"
#include "lab/check/CheckContext.h"
#include "lab/check/CheckReport.h"
#include "lab/check/CheckRunner.h"
#include "lab/commands/SystemOptions.h"
#include "lab/processes/Supervisor.h"
#include "lab/support/HelpPage.h"
#include "platform/linux/LinuxAppGroupContainers.h"

namespace korvan::lab {
namespace {

using namespace check;

constexpr int WrongUsage = 2;
constexpr int NoHost = 3;

constexpr std::string_view CheckHostHelpPage =
    R"(Usage: korvan-lab check-host [options]

Talks to a host as the extension does, and says what is wrong with it. Makes
passkeys of its own for check-host.invalid and other.check-host.invalid, and
removes them again through reports.

  --container DIR          the app group's container; default: the user's own
  --trust-anchor FILE.pem  the root of trusted signatures; default: the build's
  --launch 'PROGRAM ARGUMENT...'
                           starts the host, and may stop it, kill it and start
                           it again; without it a host must run already
  --timeout SECONDS        the longest that a check waits; default: 10
  --unattended             leaves out what needs a person, and makes passkeys
                           by silent registrations
  --only GLOB              runs the checks of these names; may be repeated
  --skip GLOB              leaves out the checks of these names; may be repeated
  --list                   prints the checks, and runs none
  --json                   prints an object for each check, and the counts
  --junit FILE             writes the results to a file, as JUnit's XML
  --help                   this page

Exit status: 0 when nothing failed, 1 when something did, 2 for wrong usage, 3
when there is no host to talk to.

Example:
  korvan-lab check-host --launch 'path/to/host --in-memory'

The checks:

)";

struct CheckHostOptions {
  std::string container;
  std::string trustAnchorFile;
  std::string launch;
  double timeout = 10;
  bool unattended = false;
  std::vector<std::string> only;
  std::vector<std::string> skip;
  bool list = false;
  bool json = false;
  std::string junitFile;
};

std::filesystem::path containerOf(const CheckHostOptions& options) {
  if (!options.container.empty()) {
    return std::filesystem::absolute(options.container).lexically_normal();
  }
  const auto path = LinuxAppGroupContainers().locate(AppGroupIdentifier);
  if (!path) {
    throw std::invalid_argument(
        "There is no home directory to look for the container in; name "
        "one with --container.");
  }
  return *path;
}

std::vector<std::string> wordsOf(const std::string& commandLine) {
  if (commandLine.empty()) {
    return {};
  }
  int count = 0;
  char** words = nullptr;
  GError* error = nullptr;
  if (g_shell_parse_argv(commandLine.c_str(), &count, &words, &error) == 0) {
    const std::string text = error->message;
    g_error_free(error);
    throw std::invalid_argument("--launch: " + text);
  }
  std::vector<std::string> list(words, words + count);
  g_strfreev(words);
  return list;
}

CheckSettings settingsOf(const CheckHostOptions& options) {
  SystemOptions system;
  system.trustAnchorFile = options.trustAnchorFile;
  return {.container = containerOf(options),
          .trustAnchorPem = system.settings().trustAnchorPem,
          .launch = wordsOf(options.launch),
          .timeout = std::chrono::milliseconds(static_cast<int>(options.timeout * 1000)),
          .attended = !options.unattended};
}

/// True when standard output is a terminal on which a line can be written again.
bool isLiveTerminal() {
  const char* const terminal = g_getenv("TERM");
  return ::isatty(STDOUT_FILENO) != 0 && terminal != nullptr &&
         std::string_view(terminal) != "dumb";
}

CheckReports reportsFor(const CheckHostOptions& options, std::ostream& junit) {
  CheckReports reports;
  if (options.json) {
    reports.push_back(std::make_unique<JsonReport>(std::cout));
  } else {
    reports.push_back(std::make_unique<PeopleReport>(std::cout, isLiveTerminal()));
  }
  if (!options.junitFile.empty()) {
    reports.push_back(std::make_unique<JunitReport>(junit));
  }
  return reports;
}

int statusOf(const Counts& counts, const CheckContext& context) {
  if (counts.failed == 0) {
    return EXIT_SUCCESS;
  }
  return context.hostListens() ? EXIT_FAILURE : NoHost;
}

int run(const CheckHostOptions& options, const CheckSettings& settings,
        const std::vector<Check>& checks) {
  std::ofstream junit;
  if (!options.junitFile.empty()) {
    junit.open(options.junitFile);
    if (!junit) {
      throw std::runtime_error("--junit " + options.junitFile + " cannot be written");
    }
  }
  const CheckReports reports = reportsFor(options, junit);
  const auto sayToAll = [&reports](const std::string& sentence) {
    for (const auto& report : reports) {
      report->say(sentence);
    }
  };
  CheckContext context(
      settings, {.waiting = [&](const std::string& whatFor) { sayToAll("Waiting for " + whatFor); },
                 .person = sayToAll});
  if (context.hasProgram()) {
    if (context.hostListens()) {
      throw std::runtime_error("A host listens in " + settings.container.string() +
                               " already; stop it, or leave out --launch.");
    }
    std::ignore = context.startProgram();
  }
  const Counts counts = runChecks(checks, context, reports);
  if (!std::cout || (junit.is_open() && !junit)) {
    throw std::runtime_error("the results cannot be written");
  }
  return statusOf(counts, context);
}

int runCommand(const CheckHostOptions& options) {
  if (options.list) {
    std::cout << listOf(allChecks()) << std::flush;
    return EXIT_SUCCESS;
  }
  // The reader of the output may go away, and a host may close a connection.
  std::ignore = std::signal(SIGPIPE, SIG_IGN);
  try {
    const CheckSettings settings = settingsOf(options);
    const std::vector<Check> checks = chosenChecks(allChecks(), options.only, options.skip);
    return runSupervised(
        [&](const std::filesystem::path& /*directory*/) { return run(options, settings, checks); });
  } catch (const std::invalid_argument& flaw) {
    std::cerr << "korvan-lab: " << flaw.what() << '\n';
    return WrongUsage;
  }
}

}  // namespace

void addCheckHostCommand(CLI::App& app, int& exitStatus) {
  CLI::App& command = *app.add_subcommand("check-host", "says what is wrong with a host");
  const auto options = std::make_shared<CheckHostOptions>();
  command.add_option("--container", options->container);
  command.add_option("--trust-anchor", options->trustAnchorFile);
  command.add_option("--launch", options->launch);
  command.add_option("--timeout", options->timeout)->check(CLI::Range(1.0, 3600.0));
  command.add_flag("--unattended", options->unattended);
  command.add_option("--only", options->only)->allow_extra_args(false);
  command.add_option("--skip", options->skip)->allow_extra_args(false);
  command.add_flag("--list", options->list);
  command.add_flag("--json", options->json);
  command.add_option("--junit", options->junitFile);
  setHelpPage(command, std::string(CheckHostHelpPage) + listOf(allChecks()));
  command.callback([options, &exitStatus] { exitStatus = runCommand(*options); });
}

}  // namespace korvan::lab
