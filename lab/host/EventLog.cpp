#include "lab/host/EventLog.h"

#include <optional>

namespace korvan::lab::host {
namespace {

using Json = nlohmann::ordered_json;

template <typename Value>
Json nullable(const std::optional<Value>& value) {
  return value ? Json(*value) : Json(nullptr);
}

}  // namespace

void EventLog::ready(std::string_view socketPath, std::span<const Passkey> passkeys) {
  Json list = Json::array();
  for (const Passkey& passkey : passkeys) {
    list.push_back(jsonOf(passkey, "publicKey", passkey.key.subjectPublicKeyInfo()));
  }
  write({{"event", "ready"}, {"socket", socketPath}, {"passkeys", list}});
}

void EventLog::unlocked() { write({{"event", "unlocked"}}); }

void EventLog::connection(const ConnectionSummary& summary) {
  write({{"event", "connection"},
         {"bytesReceived", summary.bytesReceived},
         {"type", nullable(summary.type)},
         {"ok", nullable(summary.ok)},
         {"errorCode", nullable(summary.errorCode)}});
}

void EventLog::write(const Json& event) {
  // A client may send what is not UTF-8; the line must be JSON nevertheless.
  const std::string line = event.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
  const std::scoped_lock lock(mutex_);
  stream_ << line << std::flush;
}

}  // namespace korvan::lab::host
