#include "lab/manual/Completion.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

#include "lab/manual/CommandWords.h"

namespace korvan::lab::manual {
namespace {

std::string shellWord(std::string_view text) {
  std::string word = "'";
  for (const char character : text) {
    word += character == '\'' ? std::string("'\\''") : std::string(1, character);
  }
  return word + "'";
}

std::string joined(const std::vector<std::string>& words) {
  std::string all;
  for (const std::string& word : words) {
    all += (all.empty() ? "" : " ") + word;
  }
  return all;
}

/// The branches of a `case` that steps from a command into one of its own.
std::string steps(const std::vector<CommandWords>& commands) {
  std::string branches;
  for (const CommandWords& command : commands) {
    if (!command.path.empty()) {
      branches += "      " + command.path + ") place=" + command.path + " ;;\n";
    }
  }
  return branches;
}

std::string bashValues(const std::vector<CommandWords>& commands) {
  std::string branches;
  for (const CommandWords& command : commands) {
    for (const OptionValue& value : command.values) {
      branches +=
          "    " + shellWord(command.path + " " + value.option) + ")\n      COMPREPLY=($(compgen ";
      branches += value.isFile ? "-f " : "";
      branches +=
          "-W " + shellWord(joined(value.choices)) + " -- \"$current\"))\n      return\n      ;;\n";
    }
  }
  return branches;
}

std::string bashWords(const std::vector<CommandWords>& commands) {
  std::string branches;
  for (const CommandWords& command : commands) {
    std::vector<std::string> words;
    std::ranges::transform(command.words, std::back_inserter(words), &CommandWord::word);
    branches += "    " + shellWord(command.path) + ") words=" + shellWord(joined(words)) + " ;;\n";
  }
  return branches;
}

std::string zshValues(const std::vector<CommandWords>& commands) {
  std::string branches;
  for (const CommandWords& command : commands) {
    for (const OptionValue& value : command.values) {
      branches += "  " + shellWord(command.path + " " + value.option) + ")";
      branches += value.choices.empty() ? "" : " compadd -- " + joined(value.choices) + ";";
      branches += value.isFile ? " _files;" : "";
      branches += " return ;;\n";
    }
  }
  return branches;
}

/// A word and its meaning, as zsh's _describe takes them.
std::string described(const CommandWord& word) {
  return shellWord(word.meaning.empty() ? word.word : word.word + ":" + word.meaning);
}

std::string zshWords(const std::vector<CommandWords>& commands) {
  std::string branches;
  for (const CommandWords& command : commands) {
    branches += "  " + shellWord(command.path) + ")\n";
    branches += command.takesFile ? "    _files\n" : "";
    branches += "    choices=(\n";
    for (const CommandWord& word : command.words) {
      branches += "      " + described(word) + '\n';
    }
    branches += "    )\n    ;;\n";
  }
  return branches;
}

}  // namespace

std::string bashCompletion(const CLI::App& app) {
  const auto commands = commandWords(app);
  std::string function = "_" + app.get_name();
  std::ranges::replace(function, '-', '_');
  return "# Completes the arguments of " + app.get_name() +
         " in bash. Made of its tables of options.\n" + function + R"(() {
  local current=${COMP_WORDS[COMP_CWORD]} place= words=
  local -i index
  for ((index = 1; index < COMP_CWORD; ++index)); do
    case $place/${COMP_WORDS[index]} in
)" + steps(commands) +
         R"(    esac
  done
  case "$place ${COMP_WORDS[COMP_CWORD - 1]}" in
)" + bashValues(commands) +
         R"(  esac
  case $place in
)" + bashWords(commands) +
         R"(  esac
  COMPREPLY=($(compgen -W "$words" -- "$current"))
}
complete -o default -F )" +
         function + " " + app.get_name() + '\n';
}

std::string zshCompletion(const CLI::App& app) {
  const auto commands = commandWords(app);
  return "#compdef " + app.get_name() + "\n# Completes the arguments of " + app.get_name() +
         R"( in zsh. Made of its tables of options.
local place= index
local -a choices
for ((index = 2; index < CURRENT; ++index)); do
  case $place/$words[index] in
)" + steps(commands) +
         R"(  esac
done
case "$place $words[CURRENT-1]" in
)" + zshValues(commands) +
         R"(esac
case $place in
)" + zshWords(commands) +
         R"(esac
_describe argument choices
)";
}

}  // namespace korvan::lab::manual
