#pragma once

#include <cstdint>
#include <string>

#include "lab/host/SigningKey.h"
#include "platform/Data.h"

namespace korvan::lab::host {

/// One passkey: a user's key for one relying party.
struct Passkey {
  std::string recordIdentifier;  ///< the vault's own name for it, a UUID
  std::string relyingPartyIdentifier;
  std::string userName;
  Data userHandle;
  Data credentialID;
  SigningKey key;
  std::uint32_t signCount = 0;  ///< how often it has signed

  /// A passkey with a new record identifier, credential ID (32 bytes) and key. Throws
  /// std::runtime_error when the system has no randomness to give.
  static Passkey create(std::string relyingPartyIdentifier, std::string userName, Data userHandle);
};

}  // namespace korvan::lab::host
