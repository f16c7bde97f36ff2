#include "lab/commands/SystemOptions.h"

#include <stdexcept>

#include <CLI/CLI.hpp>

#include "lab/support/FileContents.h"
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
  return text.empty() ? "is empty; it must be an executable, or none" : std::string();
}

/// Looks into the file here, where its name is known for the error.
std::string certificateIn(const std::string& file) {
  std::string pem = contentsOf(file);
  try {
    const LinuxCodeSigning check(pem);
  } catch (const std::invalid_argument& flaw) {
    throw std::runtime_error("--trust-anchor " + file + ": " + flaw.what());
  }
  return pem;
}

}  // namespace

void SystemOptions::addTo(CLI::App& command) {
  command.add_option("--container", container)->check(CLI::Validator(flawOfContainer, ""));
  command.add_option("--host-application", hostApplication)->check(CLI::Validator(flawOfHost, ""));
  command.add_option("--trust-anchor", trustAnchorFile);
}

LabSettings SystemOptions::settings() const {
  return {.container = given(container),
          .hostApplication = given(hostApplication),
          .trustAnchorPem = trustAnchorFile.empty() ? std::string(TrustAnchorPem)
                                                    : certificateIn(trustAnchorFile)};
}

}  // namespace korvan::lab
