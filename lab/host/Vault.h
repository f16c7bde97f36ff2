#pragma once

#include <filesystem>
#include <vector>

#include "lab/host/Passkey.h"

namespace korvan::lab::host {

/// The passkeys of the host. Not thread-safe.
///
/// A new vault holds one passkey, of the user "alice" at "example.com", so that there is something
/// to sign in with. A vault's file is JSON with mode 0600, and holds the keys unencrypted: good
/// enough for a lab, and the one thing not to copy into a host for real use.
class Vault {
 public:
  /// A new vault in memory.
  Vault();

  /// The vault in `file`, which is created when missing. Follows symbolic links. Throws
  /// std::runtime_error that names the file and what is wrong when it cannot be read, parsed or
  /// created, and leaves it unchanged.
  explicit Vault(const std::filesystem::path& file);

  /// In the order in which they were added.
  [[nodiscard]] const std::vector<Passkey>& passkeys() const noexcept { return passkeys_; }

  /// Replaces all passkeys, atomically: the file holds the old or the new ones at any time, and the
  /// new ones are on the disk on return. When the file cannot be written, throws std::runtime_error
  /// and leaves the vault unchanged.
  void replacePasskeys(std::vector<Passkey> passkeys);

 private:
  std::filesystem::path file_;  ///< empty for a vault in memory
  std::vector<Passkey> passkeys_;
};

}  // namespace korvan::lab::host
