#include "lab/browser/StoryLine.h"

#include <array>
#include <cstdio>

#include "lab/support/VisibleText.h"

namespace korvan::lab {
namespace {

using Json = nlohmann::json;

std::string textOf(const Json& story, const char* name) {
  const Json text = story.value(name, Json());
  return text.is_string() ? visibleText(text.get_ref<const std::string&>()) : std::string();
}

std::string entryPointsOf(const Json& story) {
  std::string names;
  for (const Json& name : story.value("entryPoints", Json::array())) {
    names += (names.empty() ? "" : ", then ") + name.get<std::string>();
  }
  return names.empty() ? "no entry point" : names;
}

std::string outcomeOf(const Json& story) {
  const Json error = story.value("error", Json::object());
  return error.empty() ? textOf(story, "outcome")
                       : textOf(error, "name") + " (" + textOf(story, "reason") + ")";
}

std::string durationOf(const Json& story) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.1f ms", story.value("milliseconds", 0.0));
  return text.data();
}

}  // namespace

std::string storyLine(const Json& story) {
  const std::string origin = textOf(story, "origin");
  return (origin.empty() ? "The browser" : origin) + " " + textOf(story, "kind") + ": " +
         entryPointsOf(story) + " → " + outcomeOf(story) + ", " + durationOf(story);
}

}  // namespace korvan::lab
