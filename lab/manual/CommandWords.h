#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab::manual {

/// What may follow an option that takes a value.
struct OptionValue {
  std::string option;                ///< with its hyphens
  std::vector<std::string> choices;  ///< the words that it may be; more is possible if isFile
  bool isFile = false;
};

/// A word that may follow a command, and what it means.
struct CommandWord {
  std::string word;
  std::string meaning;
};

/// All that a shell can complete after a command.
struct CommandWords {
  std::string path;  ///< "" for the program itself, otherwise such as "/report/unknown-credential"
  std::vector<CommandWord> words;
  std::vector<OptionValue> values;
  bool takesFile = false;
};

/// One for a program and one for each of its commands, from the table of its options; what their
/// values may be is read from the help pages. `app` is the program's own and has parsed nothing.
[[nodiscard]] std::vector<CommandWords> commandWords(const CLI::App& app);

}  // namespace korvan::lab::manual
