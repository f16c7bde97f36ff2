// korvan-manual DIRECTORY SCRIPT...: writes the manual pages of the lab's programs, and the scripts
// that complete their arguments in a shell, from the tables that the programs parse with. Writes
// the pages of scripts from the comments that they start with.

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>

#include <CLI/CLI.hpp>

#include "lab/commands/LabProgram.h"
#include "lab/host/HostOptions.h"
#include "lab/manual/Completion.h"
#include "lab/manual/ManualPage.h"
#include "lab/support/ExitStatus.h"
#include "lab/support/ProgramMain.h"

namespace {

using namespace korvan::lab;
namespace fs = std::filesystem;

void write(const fs::path& file, const std::string& text) {
  fs::create_directories(file.parent_path());
  if (!(std::ofstream(file) << text << std::flush)) {
    throw std::system_error(errno, std::generic_category(), "cannot write " + file.string());
  }
}

void writeFor(const CLI::App& app, const fs::path& directory) {
  const std::string& name = app.get_name();
  write(directory / "man" / (name + ".1"), manual::manualPage(app));
  write(directory / "bash" / name, manual::bashCompletion(app));
  write(directory / "zsh" / ("_" + name), manual::zshCompletion(app));
}

/// What the --help of a script prints.
std::string commentIn(const fs::path& script) {
  std::ifstream file(script);
  std::string text;
  std::string line;
  std::getline(file, line);
  while (std::getline(file, line) && line.starts_with('#')) {
    text += (line.size() > 2 ? line.substr(2) : "") + '\n';
  }
  return text;
}

/// Scripts are installed under names of their own.
void writePageOf(const fs::path& script, const fs::path& directory) {
  const std::string name = "korvan-" + script.filename().string();
  CLI::App app("", name);
  app.formatter_fn([text = commentIn(script)](const CLI::App* /*app*/, const std::string& /*name*/,
                                              CLI::AppFormatMode /*mode*/) { return text; });
  write(directory / "man" / (name + ".1"), manual::manualPage(app));
}

int run(const fs::path& directory, std::span<char* const> scripts) {
  for (const char* const script : scripts) {
    writePageOf(script, directory);
  }
  CLI::App lab("", LabProgramName);
  int exitStatus = Well;
  describeLabProgram(lab, exitStatus);
  writeFor(lab, directory);
  CLI::App host("", host::HostProgramName);
  host::HostOptions options;
  host::describeHostProgram(host, options, host::HostProgramName);
  writeFor(host, directory);
  return exitStatus;
}

}  // namespace

int main(int argc, char** argv) {
  return runProgram("korvan-manual", [&] {
    const std::span<char* const> arguments(argv, static_cast<std::size_t>(argc));
    if (arguments.size() < 2) {
      throw std::invalid_argument("usage: korvan-manual DIRECTORY SCRIPT...");
    }
    return run(arguments[1], arguments.subspan(2));
  });
}
