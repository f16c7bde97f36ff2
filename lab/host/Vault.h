#pragma once

#include <filesystem>
#include <vector>

#include "lab/host/Passkey.h"

namespace korvan::lab::host {

/// The passkeys that the host serves. Not for several threads at once.
///
/// A new vault holds one passkey, of the user "alice" at "example.com", so that there is something
/// to sign in with. A vault's file is JSON for its owner's eyes only, with the keys unencrypted in
/// it: good for a laboratory, and the one thing not to copy into a host that people use.
class Vault {
 public:
  /// A new vault that ends with the process.
  Vault();

  /// The vault in the file `file`, which is made when missing; symbolic links are followed. Throws
  /// std::runtime_error that names the file and what is wrong when it cannot be read, understood or
  /// made, and leaves it as it is.
  explicit Vault(const std::filesystem::path& file);

  /// In the order in which they were added.
  [[nodiscard]] const std::vector<Passkey>& passkeys() const noexcept { return passkeys_; }

  /// Changes the vault to `passkeys`. Its file holds the old or the new ones at any time, and the
  /// new ones, on the disk, on return. Throws std::runtime_error, with the vault as it was, when
  /// the file cannot be written.
  void replacePasskeys(std::vector<Passkey> passkeys);

 private:
  std::filesystem::path file_;  ///< empty when there is none
  std::vector<Passkey> passkeys_;
};

}  // namespace korvan::lab::host
