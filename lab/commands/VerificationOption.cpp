#include "lab/commands/VerificationOption.h"

#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include <CLI/CLI.hpp>

namespace korvan::lab {
namespace {

using UserVerification = RelyingParty::UserVerification;

constexpr std::array<std::pair<std::string_view, UserVerification>, 3> Levels{
    {{"required", UserVerification::required},
     {"preferred", UserVerification::preferred},
     {"discouraged", UserVerification::discouraged}}};

std::optional<UserVerification> levelNamed(std::string_view name) {
  for (const auto& [known, level] : Levels) {
    if (known == name) {
      return level;
    }
  }
  return std::nullopt;
}

std::string flawOfLevel(const std::string& name) {
  return levelNamed(name)
             ? std::string()
             : "\"" + name + "\" is unknown; it must be required, preferred or discouraged";
}

}  // namespace

void VerificationOption::addTo(CLI::App& command) {
  command.add_option("--user-verification", level)->check(CLI::Validator(flawOfLevel, ""));
}

UserVerification VerificationOption::levelOr(UserVerification otherwise) const {
  return levelNamed(level).value_or(otherwise);
}

}  // namespace korvan::lab
