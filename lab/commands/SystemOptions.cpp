#include "lab/commands/SystemOptions.h"

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <CLI/CLI.hpp>

#include "lab/support/FileContents.h"
#include "lab/support/NumberOption.h"
#include "lab/system/TrustAnchor.h"
#include "platform/linux/codesigning/LinuxCodeSigning.h"

namespace korvan::lab {
namespace {

std::optional<std::string> given(const std::string& value) {
  return value.empty() ? std::nullopt : std::optional(value);
}

std::string flawOfContainer(const std::string& text) {
  return text.empty() ? "is empty; it must be a directory, or none" : std::string();
}

std::string flawOfHost(const std::string& text) {
  std::error_code ignored;
  return text == LabSettings::None || std::filesystem::is_regular_file(text, ignored)
             ? std::string()
             : "\"" + text + "\" is not a file; it must be an executable, or none";
}

std::string flawOfTrustAnchor(const std::string& file) {
  try {
    const LinuxCodeSigning check(contentsOf(file));
    return {};
  } catch (const std::system_error& error) {
    return error.what();
  } catch (const std::invalid_argument& flaw) {
    return file + ": " + flaw.what();
  }
}

std::string flawOfVersion(const std::string& text) {
  const auto version = parseOperatingSystemVersion(text);
  return version ? std::string() : version.error();
}

std::optional<std::chrono::milliseconds> timeoutFrom(const std::optional<double>& seconds) {
  return seconds ? std::optional(std::chrono::ceil<std::chrono::milliseconds>(
                       std::chrono::duration<double>(*seconds)))
                 : std::nullopt;
}

}  // namespace

void SystemOptions::addTo(CLI::App& command) {
  addHostTo(command);
  command.add_flag("--show-messages", showMessages);
}

void SystemOptions::addHostTo(CLI::App& command) {
  constexpr double Shortest = 0.001;
  constexpr double Longest = 86'400;
  command.add_option("--container", container)->check(CLI::Validator(flawOfContainer, ""));
  command.add_option("--host-application", hostApplication)->check(CLI::Validator(flawOfHost, ""));
  addTrustAnchorOption(command, trustAnchorFile);
  command.add_option("--timeout", timeoutSeconds)
      ->check(isNumber("a number of seconds", Shortest, Longest));
}

void addOperatingSystemVersionOption(CLI::App& command, std::string& version) {
  command.add_option("--os-version", version)->check(CLI::Validator(flawOfVersion, ""));
}

void addTrustAnchorOption(CLI::App& command, std::string& file) {
  command.add_option("--trust-anchor", file)->check(CLI::Validator(flawOfTrustAnchor, ""));
}

LabSettings SystemOptions::settings() const {
  return {.container = given(container),
          .hostApplication = given(hostApplication),
          .trustAnchorPem =
              trustAnchorFile.empty() ? std::string(TrustAnchorPem) : contentsOf(trustAnchorFile),
          .timeout = timeoutFrom(timeoutSeconds)};
}

}  // namespace korvan::lab
