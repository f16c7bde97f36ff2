#pragma once

#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "lab/system/LabSettings.h"

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

}  // namespace korvan::lab
