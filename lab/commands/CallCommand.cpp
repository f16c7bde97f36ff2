#include "lab/commands/CallCommand.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>

#include <CLI/CLI.hpp>

#include "lab/commands/SystemOptions.h"
#include "lab/json/CallParser.h"
#include "lab/support/ExitStatus.h"
#include "lab/support/HelpPage.h"

namespace korvan::lab {
namespace {

constexpr std::string_view CallHelpPage =
    R"(Usage: korvan-lab call [options] [FILE]

Calls entry points of the extension. Reads one JSON object per line from FILE,
or from standard input without FILE or for "-", and prints one outcome per line.
docs/lab-calls.md lists every entry point, key and outcome.

  --container DIR|none     the app group's container; default: the user's own
  --host-application EXECUTABLE|none
                           the host application; default: the desktop's
  --trust-anchor FILE.pem  the root of trusted signatures; default: the build's
  --timeout SECONDS        gives up when the host takes longer; default: never
  --os-version VERSION     the macOS version to play; default: 15.0
  --notice press-ok|leave|terminal|window
                           what happens to the notice; default: press-ok. With
                           terminal, Return answers it on standard input, or on
                           /dev/tty where standard input brings the calls
  --show-messages          also prints what went over the socket
  --help                   this page

Exit status: 0, 1 when the lab could not continue, 2 when a line was not a call
or for a usage error.

Example:
  echo '{"entryPoint":"prepareInterfaceForExtensionConfiguration"}' |
    korvan-lab call --host-application none --show-messages
)";

struct CallOptions {
  SystemOptions system;
  std::string operatingSystemVersion;
  std::string notice;
  std::string file;
};

std::string flawOfNotice(const std::string& text) {
  for (const std::string_view known : {"press-ok", "leave", "terminal", "window"}) {
    if (text == known) {
      return {};
    }
  }
  return "\"" + text + "\" is unknown; it must be press-ok, leave, terminal or window";
}

bool readsStandardInput(const CallOptions& options) {
  return options.file.empty() || options.file == "-";
}

NoticeMode noticeModeOf(const CallOptions& options) {
  if (options.notice == "leave") {
    return NoticeMode::leave;
  }
  if (options.notice == "window") {
    return NoticeMode::window;
  }
  if (options.notice == "terminal") {
    // Not to take a call for the answer.
    return readsStandardInput(options) ? NoticeMode::controllingTerminal : NoticeMode::terminal;
  }
  return NoticeMode::pressOk;
}

LabSettings settingsOf(const CallOptions& options) {
  LabSettings settings = options.system.settings();
  settings.noticeMode = noticeModeOf(options);
  if (!options.operatingSystemVersion.empty()) {
    settings.operatingSystemVersion =
        parseOperatingSystemVersion(options.operatingSystemVersion).value();
  }
  return settings;
}

CLI::ValidationError unreadable(const std::string& name, int error) {
  return CLI::ValidationError(
      "FILE", "cannot read \"" + name + "\": " + std::generic_category().message(error));
}

std::ifstream openFile(const std::string& name) {
  std::ifstream file(name);
  if (!file) {
    throw unreadable(name, errno);
  }
  // A directory opens, but there is nothing in it to read.
  if (std::filesystem::is_directory(name)) {
    throw unreadable(name, EISDIR);
  }
  return file;
}

int run(const CallOptions& options) {
  std::ifstream file;
  if (!readsStandardInput(options)) {
    file = openFile(options.file);
  }
  CallRunner runner(settingsOf(options));
  const OutcomeWriter writer(runner.propertyLists(), options.system.showMessages);
  const bool allCalls =
      serveLines(readsStandardInput(options) ? std::cin : file, std::cout, runner, writer);
  return allCalls ? Well : WrongUsage;
}

}  // namespace

bool serveLines(std::istream& input, std::ostream& output, CallRunner& runner,
                const OutcomeWriter& writer) {
  bool allCalls = true;
  std::string line;
  while (output && std::getline(input, line)) {
    if (line.find_first_not_of(" \t\r") == std::string::npos) {
      continue;
    }
    const auto call = parseCall(line);
    output << (call ? writer.line(runner.run(*call)) : writer.invalidLine(call.error())) << '\n'
           << std::flush;
    allCalls = allCalls && call.has_value();
  }
  return allCalls;
}

void addCallCommand(CLI::App& app, int& exitStatus) {
  CLI::App& command = *app.add_subcommand("call", "calls entry points, for scripts");
  const auto options = std::make_shared<CallOptions>();
  options->system.addTo(command);
  addOperatingSystemVersionOption(command, options->operatingSystemVersion);
  command.add_option("--notice", options->notice)->check(CLI::Validator(flawOfNotice, ""));
  command.add_option("FILE", options->file);
  setHelpPage(command, CallHelpPage);
  command.callback([options, &exitStatus] { exitStatus = run(*options); });
}

}  // namespace korvan::lab
