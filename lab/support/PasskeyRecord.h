#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "platform/Data.h"

namespace korvan::lab {

/// A passkey without its key, as in the sample host's vault file and event "ready".
struct PasskeyRecord {
  std::string recordIdentifier;  ///< the vault's own name for it, a UUID
  std::string relyingPartyIdentifier;
  std::string userName;
  Data userHandle;
  Data credentialID;
  std::uint32_t signCount = 0;  ///< how often it has signed
};

/// The record as JSON, with its key under the name "privateKey" or "publicKey".
[[nodiscard]] nlohmann::ordered_json jsonOf(const PasskeyRecord& record, const char* keyName,
                                            const Data& key);

/// Reads what jsonOf() writes. Throws std::runtime_error that says what is wrong.
[[nodiscard]] PasskeyRecord passkeyRecordFrom(const nlohmann::ordered_json& json);

/// Reads the bytes in the member `name`. Throws std::runtime_error that names the member.
[[nodiscard]] Data bytesFrom(const nlohmann::ordered_json& json, const char* name);

}  // namespace korvan::lab
