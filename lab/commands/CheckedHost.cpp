#include "lab/commands/CheckedHost.h"

#include <chrono>
#include <filesystem>

#include <CLI/CLI.hpp>

#include "channel/HostIdentifiers.h"
#include "lab/commands/SystemOptions.h"
#include "lab/support/NumberOption.h"
#include "platform/linux/LinuxAppGroupContainers.h"

namespace korvan::lab {
namespace {

std::string flawOfDirectory(const std::string& text) {
  return text.empty() ? "is empty; it must be a directory" : std::string();
}

std::filesystem::path containerFrom(const std::string& option) {
  if (!option.empty()) {
    return std::filesystem::absolute(option).lexically_normal();
  }
  const auto own = LinuxAppGroupContainers().locate(AppGroupIdentifier);
  if (!own) {
    throw CLI::ValidationError("--container is missing, and there is no home directory to look in");
  }
  return *own;
}

}  // namespace

void CheckedHost::addTo(CLI::App& command) {
  constexpr double Shortest = 1;
  constexpr double Longest = 3600;
  command.add_option("--container", container)->check(CLI::Validator(flawOfDirectory, ""));
  addTrustAnchorOption(command, trustAnchorFile);
  command.add_option("--timeout", timeoutSeconds)
      ->check(isNumber("a number of seconds", Shortest, Longest));
}

check::CheckSettings CheckedHost::settings() const {
  SystemOptions system;
  system.trustAnchorFile = trustAnchorFile;
  return {.container = containerFrom(container),
          .trustAnchorPem = system.settings().trustAnchorPem,
          .timeout = std::chrono::ceil<std::chrono::milliseconds>(
              std::chrono::duration<double>(timeoutSeconds))};
}

}  // namespace korvan::lab
