#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "platform/Data.h"

namespace korvan::lab {

/// What the sample host tells of a passkey, in its vault's file and in its event "ready", beside
/// the passkey's key.
struct PasskeyRecord {
  std::string recordIdentifier;  ///< the vault's own name for it, a UUID
  std::string relyingPartyIdentifier;
  std::string userName;
  Data userHandle;
  Data credentialID;
  std::uint32_t signCount = 0;  ///< how often it has signed
};

/// The record as JSON, with a key of this name: "privateKey" or "publicKey".
[[nodiscard]] nlohmann::ordered_json jsonOf(const PasskeyRecord& record, const char* keyName,
                                            const Data& key);

/// The record in what jsonOf() gives. Throws std::runtime_error that names what is wrong with it.
[[nodiscard]] PasskeyRecord passkeyRecordFrom(const nlohmann::ordered_json& json);

/// The bytes in the JSON's member of this name. Throws std::runtime_error that names it.
[[nodiscard]] Data bytesFrom(const nlohmann::ordered_json& json, const char* name);

}  // namespace korvan::lab
