#pragma once

#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "lab/LabSettings.h"

namespace korvan::lab {

/// The options that say which host application, and where, a command talks to.
struct SystemOptions {
  std::string container;
  std::string hostApplication;
  std::string trustAnchorFile;

  void addTo(CLI::App& command);

  /// The settings, with what was not given left to the system. Throws std::runtime_error when the
  /// trust anchor's file cannot be read or holds no certificate.
  [[nodiscard]] LabSettings settings() const;
};

/// All of a file. Throws std::runtime_error that names it when it cannot be read.
[[nodiscard]] std::string contentsOf(const std::string& file);

/// Makes `page` the command's help, with the program's own name, as it was called, for
/// "korvan-lab": what the page shows can be pasted.
void setHelpPage(CLI::App& command, std::string_view page);

}  // namespace korvan::lab
