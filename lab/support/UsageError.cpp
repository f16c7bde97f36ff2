#include "lab/support/UsageError.h"

#include <vector>

#include <CLI/CLI.hpp>

namespace korvan::lab {
namespace {

/// How far the arguments got: a command, and its name as it was called.
struct Reached {
  const CLI::App* command;
  std::string name;
};

Reached reachedBy(const CLI::App* app) {
  Reached reached{.command = app, .name = app->get_name()};
  while (!reached.command->get_subcommands().empty()) {
    reached.command = reached.command->get_subcommands().front();
    reached.name += " " + reached.command->get_name();
  }
  return reached;
}

std::string namesOf(const std::vector<const CLI::App*>& commands) {
  std::string names;
  for (const CLI::App* const command : commands) {
    names += (names.empty() ? "" : ", ") + command->get_name();
  }
  return names;
}

std::string unknownWord(const std::string& word, const std::string& command) {
  return "\"" + word + "\" is unknown to " + command;
}

/// The parser's words, but for those that only its own developers understand.
std::string flawOf(const CLI::Error& error) {
  std::string words = error.what();
  const std::string option = words.substr(0, words.find(':'));
  if (words.starts_with(option + ": At Most 1 required")) {
    return option + " may be given only once";
  }
  if (words.starts_with(option + ": 1 required") && words.ends_with(" missing")) {
    return option + " needs a value";
  }
  return words;
}

}  // namespace

std::string usageError(const CLI::App* app, const CLI::Error& error) {
  const auto [command, name] = reachedBy(app);
  const auto commands = command->get_subcommands([](const CLI::App* /*each*/) { return true; });
  const std::vector<std::string> unknown = app->remaining(true);
  if (commands.empty()) {
    const bool isUnknown =
        dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr && !unknown.empty();
    return (isUnknown ? unknownWord(unknown.front(), name) : flawOf(error)) + "; see " + name +
           " --help\n";
  }
  return (unknown.empty() ? name + " needs one more word" : unknownWord(unknown.front(), name)) +
         "; it must be one of " + namesOf(commands) + "\n";
}

}  // namespace korvan::lab
