#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "lab/site/PublicKey.h"
#include "platform/Data.h"

namespace korvan::lab {

/// What a relying party remembers of a passkey. What it does not know it cannot check.
struct RegisteredPasskey {
  PublicKey key;
  std::optional<Data> credentialID;
  std::optional<Data> userHandle;
  std::uint32_t signCount = 0;
  /// The flag BE, which never changes.
  // NOLINTNEXTLINE(readability-redundant-member-init): g++ warns where it is left out otherwise
  std::optional<bool> backupEligible = std::nullopt;
  /// The relying party that it was made for.
  // NOLINTNEXTLINE(readability-redundant-member-init): g++ warns where it is left out otherwise
  std::optional<std::string> relyingParty = std::nullopt;
};

}  // namespace korvan::lab
