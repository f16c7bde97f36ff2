#include "lab/SystemOptions.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <system_error>

#include "lab/TrustAnchor.h"
#include "platform/linux/LinuxCodeSigning.h"

namespace korvan::lab {
namespace {

constexpr std::string_view ProgramName = "korvan-lab";

std::optional<std::string> given(const std::string& value) {
  return value.empty() ? std::nullopt : std::optional(value);
}

/// The name that the program was called by, whichever of its commands this is.
std::string programName(const CLI::App& command) {
  const CLI::App* app = &command;
  while (app->get_parent() != nullptr) {
    app = app->get_parent();
  }
  return app->get_name();
}

std::string withProgramName(std::string_view page, const std::string& name) {
  std::string text(page);
  for (std::size_t at = text.find(ProgramName); at != std::string::npos;
       at = text.find(ProgramName, at + name.size())) {
    text.replace(at, ProgramName.size(), name);
  }
  return text;
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

std::string contentsOf(const std::string& file) {
  const std::unique_ptr<std::FILE, decltype(&std::fclose)> stream(std::fopen(file.c_str(), "re"),
                                                                  std::fclose);
  if (!stream) {
    throw std::system_error(errno, std::generic_category(), "cannot read " + file);
  }
  std::string contents;
  for (int character = std::fgetc(stream.get()); character != EOF;
       character = std::fgetc(stream.get())) {
    contents += static_cast<char>(character);
  }
  if (std::ferror(stream.get()) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot read " + file);
  }
  return contents;
}

void setHelpPage(CLI::App& command, std::string_view page) {
  command.formatter_fn([page = std::string(page)](const CLI::App* app, const std::string& /*name*/,
                                                  CLI::AppFormatMode /*mode*/) {
    return withProgramName(page, programName(*app));
  });
}

}  // namespace korvan::lab
