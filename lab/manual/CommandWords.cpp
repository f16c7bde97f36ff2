#include "lab/manual/CommandWords.h"

#include <algorithm>
#include <iterator>
#include <ranges>
#include <string_view>

#include <CLI/CLI.hpp>

#include "lab/manual/HelpItems.h"

namespace korvan::lab::manual {
namespace {

constexpr std::string_view LowerCase = "abcdefghijklmnopqrstuvwxyz-";

std::vector<const CLI::App*> commandsOf(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App* /*each*/) { return true; });
}

/// The row about a word; an empty one if the page has none.
HelpItem itemAbout(const std::string& word, const std::vector<HelpItem>& items) {
  const auto found = std::ranges::find_if(items, [&](const HelpItem& item) {
    const std::string_view tag(item.tag);
    const std::string_view names = tag.substr(0, tag.find(' '));
    return names == word || names.ends_with("," + word);
  });
  return found == items.end() ? HelpItem{} : *found;
}

/// In the pages a word in lower case stands for itself, others for what they name.
OptionValue valueOf(const std::string& option, const std::string& placeholder) {
  OptionValue value{.option = option, .choices = {}, .isFile = false};
  for (const auto& part : placeholder | std::views::split('|')) {
    const std::string word(part.begin(), part.end());
    if (!word.empty() && word.find_first_not_of(LowerCase) == std::string::npos) {
      value.choices.push_back(word);
    }
    value.isFile = value.isFile || word.starts_with("FILE") || word == "DIR" ||
                   word == "EXECUTABLE" || word.contains("PROGRAM");
  }
  return value;
}

void addOption(CommandWords& words, const CLI::Option& option, const std::vector<HelpItem>& items) {
  for (const std::string& name : option.get_lnames()) {
    const std::string word = "--" + name;
    const HelpItem item = itemAbout(word, items);
    words.words.push_back({.word = word, .meaning = item.text});
    if (option.get_items_expected_max() > 0) {
      words.values.push_back(valueOf(word, item.value()));
    }
  }
}

void collect(const CLI::App& app, const std::string& path, std::vector<CommandWords>& all) {
  CommandWords words;
  words.path = path;
  const std::vector<HelpItem> items = helpItemsIn(app.help());
  for (const CLI::App* const command : commandsOf(app)) {
    words.words.push_back(
        {.word = command->get_name(), .meaning = itemAbout(command->get_name(), items).text});
  }
  for (const CLI::Option* const option : app.get_options()) {
    addOption(words, *option, items);
    words.takesFile = words.takesFile || option->get_name() == "FILE";
    if (option->get_name() == "COMMAND") {
      std::ranges::copy(all.front().words | std::views::filter([](const CommandWord& word) {
                          return !word.word.starts_with("--");
                        }),
                        std::back_inserter(words.words));
    }
  }
  all.push_back(std::move(words));
  for (const CLI::App* const command : commandsOf(app)) {
    collect(*command, path + "/" + command->get_name(), all);
  }
}

}  // namespace

std::vector<CommandWords> commandWords(const CLI::App& app) {
  std::vector<CommandWords> all;
  collect(app, "", all);
  return all;
}

}  // namespace korvan::lab::manual
