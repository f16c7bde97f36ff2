#include "lab/commands/HelpCommand.h"

#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "lab/support/HelpPage.h"

namespace korvan::lab {
namespace {

constexpr std::string_view HelpHelpPage =
    R"(Usage: korvan-lab help [COMMAND]

Prints the help page of a command, as COMMAND --help does.

  --help  this page

Example:
  korvan-lab help sign-in
)";

const CLI::App& commandNamed(const CLI::App& app, const std::vector<std::string>& words) {
  const CLI::App* command = &app;
  for (const std::string& word : words) {
    try {
      command = command->get_subcommand(word);
    } catch (const CLI::OptionNotFound&) {
      throw CLI::ValidationError("\"" + word + "\" is not a command");
    }
  }
  return *command;
}

}  // namespace

void addHelpCommand(CLI::App& app) {
  CLI::App& command = *app.add_subcommand("help", "prints the help page of a command");
  const auto words = std::make_shared<std::vector<std::string>>();
  command.add_option("COMMAND", *words);
  setHelpPage(command, HelpHelpPage);
  command.callback([&app, words] {
    const CLI::App& named = commandNamed(app, *words);
    // App::help() would give the page of the command that was parsed: this one.
    std::cout << named.get_formatter()->make_help(&named, "", CLI::AppFormatMode::Normal);
  });
}

}  // namespace korvan::lab
