#pragma once

#include <string>

#include "lab/host/SigningKey.h"
#include "lab/support/PasskeyRecord.h"
#include "platform/Data.h"

namespace korvan::lab::host {

/// One passkey: a user's key for one relying party.
struct Passkey : PasskeyRecord {
  SigningKey key;

  /// A passkey with a new record identifier, credential ID (32 bytes) and key. Throws
  /// std::runtime_error when the system has no random bytes.
  static Passkey create(std::string relyingPartyIdentifier, std::string userName, Data userHandle);
};

}  // namespace korvan::lab::host
