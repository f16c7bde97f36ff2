#pragma once

#include <filesystem>
#include <optional>

#include "lab/browser/BrowserRequest.h"

namespace korvan::lab {

/// The passkeys that the system knows of, in a file that several processes may use at once: a line
/// of JSON each, the newest last.
class KnownIdentities {
 public:
  /// The file need not exist.
  explicit KnownIdentities(std::filesystem::path file) : file_(std::move(file)) {}

  /// Throws std::system_error when it cannot be written.
  void add(const KnownIdentity& identity) const;

  /// The newest among the allowed ones. Skips lines that are not an identity.
  [[nodiscard]] std::optional<KnownIdentity> find(const AllowedCredentials& allowed) const;

 private:
  const std::filesystem::path file_;
};

}  // namespace korvan::lab
