#include "lab/commands/CheckHostCommand.h"

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <tuple>
#include <vector>

#include <CLI/CLI.hpp>
#include <glib.h>

#include "lab/check/Catalog.h"
#include "lab/check/CheckContext.h"
#include "lab/check/CheckRunner.h"
#include "lab/check/report/CheckReport.h"
#include "lab/commands/CheckedHost.h"
#include "lab/processes/Interruption.h"
#include "lab/processes/Supervisor.h"
#include "lab/support/EscapeSequences.h"
#include "lab/support/ExitStatus.h"
#include "lab/support/HelpPage.h"

namespace korvan::lab {
namespace {

using namespace check;
namespace fs = std::filesystem;

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
                           with silent registrations
  --only GLOB              runs the checks of these names; may be repeated
  --skip GLOB              leaves out the checks of these names; may be repeated
  --list                   prints the checks, and runs none
  --json                   prints an object for each check, and the counts
  --junit FILE             writes the results to a file, as JUnit's XML
  --help                   this page

Exit status: 0 when nothing failed, 1 when something did, 2 for a usage error, 3
when there is no host to talk to.

Example:
  korvan-lab check-host --launch 'path/to/host --in-memory'

The checks:

)";

struct CheckHostOptions {
  CheckedHost host;
  std::vector<std::string> launch;
  bool unattended = false;
  std::vector<std::string> only;
  std::vector<std::string> skip;
  bool list = false;
  bool json = false;
  std::string junitFile;

  [[nodiscard]] CheckSettings settings() const {
    CheckSettings settings = host.settings();
    settings.launch = launch;
    settings.attended = !unattended;
    return settings;
  }
};

/// The words of a command line, as a shell splits it.
std::vector<std::string> wordsOf(const std::string& commandLine) {
  int count = 0;
  char** words = nullptr;
  GError* error = nullptr;
  if (g_shell_parse_argv(commandLine.c_str(), &count, &words, &error) == 0) {
    const std::string text = error->message;
    g_error_free(error);
    throw CLI::ValidationError("--launch: " + text);
  }
  std::vector<std::string> list(words, words + count);
  g_strfreev(words);
  return list;
}

std::vector<Check> checksFor(const CheckHostOptions& options) {
  try {
    return chosenChecks(allChecks(), options.only, options.skip);
  } catch (const std::invalid_argument& flaw) {
    throw CLI::ValidationError(flaw.what());
  }
}

CheckReports reportsFor(const CheckHostOptions& options, std::ostream& junit) {
  CheckReports reports;
  if (options.json) {
    reports.push_back(std::make_unique<JsonReport>(std::cout));
  } else {
    reports.push_back(std::make_unique<PeopleReport>(std::cout, outputTakesEscapeSequences()));
  }
  if (!options.junitFile.empty()) {
    reports.push_back(std::make_unique<JunitReport>(junit));
  }
  return reports;
}

std::string flawOfFile(const std::string& text) {
  return text.empty() ? "is empty; it must be a file" : std::string();
}

std::string unwritable(const std::string& file) { return "--junit: cannot write \"" + file + "\""; }

std::ofstream opened(const std::string& junitFile) {
  std::ofstream junit;
  if (!junitFile.empty()) {
    junit.open(junitFile);
    if (!junit) {
      throw CLI::ValidationError(unwritable(junitFile) + ": " + check::errorText(errno));
    }
  }
  return junit;
}

void finish(std::ofstream& junit, const std::string& file) {
  if (junit.is_open() && !junit.flush()) {
    std::error_code ignored;
    fs::resize_file(file, 0, ignored);
    throw std::runtime_error(unwritable(file));
  }
}

/// What a run leaves that did not come to its results.
void removeIfEmpty(const std::string& junitFile) {
  std::error_code ignored;
  if (fs::is_regular_file(junitFile, ignored) && fs::is_empty(junitFile, ignored)) {
    fs::remove(junitFile, ignored);
  }
}

void requireNobodyListens(const CheckSettings& settings) {
  if (CheckContext(settings, [](const std::string& /*sentence*/) {}).hostListens()) {
    throw CLI::ValidationError("--launch: a host listens in " + settings.container.string() +
                               " already; stop it, or leave out --launch");
  }
}

/// Removes the socket that a program leaves which must be killed.
std::function<void()> tidyingUpAfterProgram(const CheckSettings& settings) {
  std::error_code ignored;
  if (settings.launch.empty() || fs::exists(settings.container / "acp.sock", ignored)) {
    return [] {};
  }
  return [settings] {
    CheckContext(settings, [](const std::string& /*sentence*/) {}).removeStaleSocket();
  };
}

int statusOf(const Counts& counts, const CheckContext& context) {
  if (counts.failed == 0) {
    return Well;
  }
  return context.hasConnected() ? NotVerified : HostAbsent;
}

int runToTheEnd(CheckContext& context, const std::vector<Check>& checks,
                const CheckReports& reports) {
  if (context.hasProgram()) {
    // The checks say what is wrong if it does not listen.
    std::ignore = context.startProgram();
  }
  const int status = statusOf(runChecks(checks, context, reports), context);
  if (context.hasProgram()) {
    context.stopProgram();
  }
  return status;
}

/// After an interruption. The time is less than the supervisor gives this process.
void tidyUp(CheckContext& context) {
  constexpr auto TimeForEach = std::chrono::milliseconds(900);
  context.waits().end(TimeForEach);
  context.passkeys().removeAll();
  if (context.hasProgram()) {
    context.waits().end(TimeForEach);
    context.stopProgram();
  }
}

int run(const CheckHostOptions& options, const CheckSettings& settings,
        const std::vector<Check>& checks, std::ofstream& junit) {
  const Interruption interruption;
  const CheckReports reports = reportsFor(options, junit);
  const auto say = [&reports](const std::string& sentence) {
    for (const auto& report : reports) {
      report->say(sentence);
    }
  };
  CheckContext context(settings, say);
  context.waits().heed(interruption);
  try {
    const int status = runToTheEnd(context, checks, reports);
    finish(junit, options.junitFile);
    return status;
  } catch (const Interrupted&) {
    interruption.accept();
    say("Removing the passkeys of this run");
    tidyUp(context);
    return NotVerified;
  }
}

int runCommand(const CheckHostOptions& options) {
  if (options.list) {
    std::cout << listOf(allChecks());
    return Well;
  }
  const CheckSettings settings = options.settings();
  const std::vector<Check> checks = checksFor(options);
  if (!settings.launch.empty()) {
    requireNobodyListens(settings);
  }
  std::ofstream junit = opened(options.junitFile);
  const auto removeSocket = tidyingUpAfterProgram(settings);
  const int status = runSupervised(
      [&](const fs::path& /*directory*/) { return run(options, settings, checks, junit); },
      removeSocket);
  removeIfEmpty(options.junitFile);
  return status;
}

}  // namespace

void addCheckHostCommand(CLI::App& app, int& exitStatus) {
  CLI::App& command =
      *app.add_subcommand("check-host", "checks a host, and says what is wrong with it");
  const auto options = std::make_shared<CheckHostOptions>();
  options->host.addTo(command);
  command.add_option_function<std::string>(
      "--launch", [options](const std::string& line) { options->launch = wordsOf(line); });
  command.add_flag("--unattended", options->unattended);
  command.add_option("--only", options->only)->allow_extra_args(false);
  command.add_option("--skip", options->skip)->allow_extra_args(false);
  command.add_flag("--list", options->list);
  command.add_flag("--json", options->json);
  command.add_option("--junit", options->junitFile)->check(CLI::Validator(flawOfFile, ""));
  setHelpPage(command, std::string(CheckHostHelpPage) + listOf(allChecks()));
  command.callback([options, &exitStatus] { exitStatus = runCommand(*options); });
}

}  // namespace korvan::lab
