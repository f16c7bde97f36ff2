#pragma once

#include <optional>
#include <string>

#include "lab/system/LabSettings.h"

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

/// The options that name the host that a command talks to.
struct SystemOptions {
  std::string container;
  std::string hostApplication;
  std::string trustAnchorFile;
  std::optional<double> timeoutSeconds;
  bool showMessages = false;

  void addTo(CLI::App& command);

  /// Adds them without --show-messages.
  void addHostTo(CLI::App& command);

  /// The settings; what is not given is left to the system. Throws std::system_error when the
  /// trust anchor's file can no longer be read.
  [[nodiscard]] LabSettings settings() const;
};

/// Adds the option that says which macOS the lab plays, in the form that
/// parseOperatingSystemVersion() reads.
void addOperatingSystemVersionOption(CLI::App& command, std::string& version);

/// Adds the option that names the file of the trust anchor, which is looked into at once.
void addTrustAnchorOption(CLI::App& command, std::string& file);

}  // namespace korvan::lab
