#include "lab/support/ProgramMain.h"

#include <csignal>
#include <exception>
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>

#include "lab/support/ExitStatus.h"
#include "lab/support/UsageError.h"

namespace korvan::lab {
namespace {

/// A handler rather than SIG_IGN, which the programs that this one starts would inherit.
void outliveReaders() {
  struct sigaction action{};
  action.sa_handler = [](int /*signal*/) {};
  action.sa_flags = SA_RESTART;
  ::sigaction(SIGPIPE, &action, nullptr);
}

}  // namespace

int runProgram(const char* name, const std::function<int()>& body) {
  outliveReaders();
  int status = NotVerified;
  try {
    status = body();
  } catch (const std::exception& error) {
    std::cerr << name << ": " << error.what() << '\n';
  }
  return statusAfterOutput(name, status);
}

int statusAfterOutput(const char* name, int status) {
  if (std::cout.flush()) {
    return status;
  }
  std::cerr << name << ": cannot write to standard output\n";
  return NotVerified;
}

void addProgramManners(CLI::App& app, const char* name) {
  app.set_version_flag("--version", std::string(name) + " " KORVAN_VERSION);
  app.failure_message([name](const CLI::App* parsed, const CLI::Error& error) {
    return std::string(name) + ": " + usageError(parsed, error);
  });
}

int parseAndRun(CLI::App& app, int argc, char** argv, const int& exitStatus) {
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? Well : WrongUsage;
  }
  return exitStatus;
}

}  // namespace korvan::lab
