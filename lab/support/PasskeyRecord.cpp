#include "lab/support/PasskeyRecord.h"

#include <limits>
#include <optional>
#include <stdexcept>

#include "lab/support/Base64Url.h"

namespace korvan::lab {
namespace {

using Json = nlohmann::ordered_json;

[[noreturn]] void refuse(const std::string& name, const std::string& flaw) {
  throw std::runtime_error(name + " is " + flaw);
}

const Json& memberOf(const Json& json, const char* name) {
  if (!json.is_object() || !json.contains(name)) {
    refuse(name, "missing");
  }
  return json.at(name);
}

std::string textFrom(const Json& json, const char* name) {
  const Json& text = memberOf(json, name);
  if (!text.is_string()) {
    refuse(name, "not a string");
  }
  return text.get<std::string>();
}

std::uint32_t countFrom(const Json& json, const char* name) {
  const Json& count = memberOf(json, name);
  constexpr auto Most = std::numeric_limits<std::uint32_t>::max();
  if (!count.is_number_unsigned() || count.get<std::uint64_t>() > Most) {
    refuse(name, "not an integer from 0 to 4294967295");
  }
  return count.get<std::uint32_t>();
}

}  // namespace

Json jsonOf(const PasskeyRecord& record, const char* keyName, const Data& key) {
  return {{"recordIdentifier", record.recordIdentifier},
          {"relyingPartyIdentifier", record.relyingPartyIdentifier},
          {"userName", record.userName},
          {"userHandle", base64Url(record.userHandle.bytes())},
          {"credentialID", base64Url(record.credentialID.bytes())},
          {keyName, base64Url(key.bytes())},
          {"signCount", record.signCount}};
}

PasskeyRecord passkeyRecordFrom(const Json& json) {
  return {.recordIdentifier = textFrom(json, "recordIdentifier"),
          .relyingPartyIdentifier = textFrom(json, "relyingPartyIdentifier"),
          .userName = textFrom(json, "userName"),
          .userHandle = bytesFrom(json, "userHandle"),
          .credentialID = bytesFrom(json, "credentialID"),
          .signCount = countFrom(json, "signCount")};
}

Data bytesFrom(const Json& json, const char* name) {
  const std::optional<Data> bytes = fromBase64Url(textFrom(json, name));
  if (!bytes) {
    refuse(name, "not base64url without padding");
  }
  return *bytes;
}

}  // namespace korvan::lab
