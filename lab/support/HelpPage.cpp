#include "lab/support/HelpPage.h"

#include <string>

#include <CLI/CLI.hpp>

namespace korvan::lab {
namespace {

constexpr std::string_view ProgramName = "korvan-lab";

/// The name that the program was called by, whichever of its commands this is.
std::string programName(const CLI::App& command) {
  const CLI::App* app = &command;
  while (app->get_parent() != nullptr) {
    app = app->get_parent();
  }
  return app->get_name();
}

std::string withProgramName(std::string_view page, const std::string& name) {
  std::string text(page);
  for (std::size_t at = text.find(ProgramName); at != std::string::npos;
       at = text.find(ProgramName, at + name.size())) {
    text.replace(at, ProgramName.size(), name);
  }
  return text;
}

}  // namespace

void setHelpPage(CLI::App& command, std::string_view page) {
  command.formatter_fn([page = std::string(page)](const CLI::App* app, const std::string& /*name*/,
                                                  CLI::AppFormatMode /*mode*/) {
    return withProgramName(page, programName(*app));
  });
}

}  // namespace korvan::lab
