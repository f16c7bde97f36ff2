#include "lab/check/Catalog.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include <fnmatch.h>

namespace korvan::lab::check {
namespace {

bool matches(const std::string& pattern, std::string_view name) {
  return ::fnmatch(pattern.c_str(), std::string(name).c_str(), 0) == 0;
}

bool matchesAny(const std::vector<std::string>& patterns, const Check& check) {
  return std::ranges::any_of(patterns,
                             [&](const std::string& each) { return matches(each, check.name); });
}

void requireMatches(const std::vector<Check>& checks, const std::vector<std::string>& patterns) {
  for (const std::string& pattern : patterns) {
    if (std::ranges::none_of(checks,
                             [&](const Check& each) { return matches(pattern, each.name); })) {
      throw std::invalid_argument("\"" + pattern +
                                  "\" matches no check; --list prints the names of all");
    }
  }
}

/// Adds the checks that those in `after` follow, so that it holds without them too.
void completeAfter(Check& check, const std::vector<Check>& checks) {
  for (std::size_t index = 0; index < check.after.size(); ++index) {
    const auto earlier = std::ranges::find(checks, check.after[index], &Check::name);
    if (earlier == checks.end()) {
      continue;
    }
    for (const std::string_view name : earlier->after) {
      if (std::ranges::find(check.after, name) == check.after.end()) {
        check.after.push_back(name);
      }
    }
  }
}

}  // namespace

const std::vector<Check>& allChecks() {
  static const std::vector<Check> checks = [] {
    constexpr std::array Groups{launchChecks,     socketChecks, signatureChecks,    framingChecks,
                                robustnessChecks, clientChecks, registrationChecks, assertionChecks,
                                refusalChecks,    reportChecks, processChecks};
    std::vector<Check> all;
    for (const auto group : Groups) {
      for (Check& check : group()) {
        all.push_back(std::move(check));
      }
    }
    return all;
  }();
  return checks;
}

std::vector<Check> chosenChecks(const std::vector<Check>& checks,
                                const std::vector<std::string>& only,
                                const std::vector<std::string>& skip) {
  requireMatches(checks, only);
  requireMatches(checks, skip);
  std::vector<Check> chosen;
  std::ranges::copy_if(checks, std::back_inserter(chosen), [&](const Check& check) {
    return (only.empty() || matchesAny(only, check)) && !matchesAny(skip, check);
  });
  for (Check& check : chosen) {
    completeAfter(check, checks);
  }
  return chosen;
}

std::string listOf(const std::vector<Check>& checks) {
  std::size_t width = 0;
  for (const Check& check : checks) {
    width = std::max(width, check.name.size());
  }
  std::string list;
  for (const Check& check : checks) {
    list.append(check.name).append(width + 2 - check.name.size(), ' ').append(check.passes);
    list += '\n';
  }
  return list;
}

}  // namespace korvan::lab::check
