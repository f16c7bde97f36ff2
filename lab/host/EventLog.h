#pragma once

#include <mutex>
#include <ostream>
#include <span>
#include <string_view>

#include <nlohmann/json.hpp>

#include "lab/host/HostServer.h"
#include "lab/host/Passkey.h"

namespace korvan::lab::host {

/// Tells scripts what happens: one JSON object per line, flushed at once. Thread-safe.
class EventLog {
 public:
  /// Writes to `stream`, which outlives it.
  explicit EventLog(std::ostream& stream) : stream_(stream) {}

  /// {"event":"ready","socket","passkeys"}: the host serves clients from now on. No private keys.
  void ready(std::string_view socketPath, std::span<const Passkey> passkeys);

  /// {"event":"unlocked"}: the user unlocked the vault for a request.
  void unlocked();

  /// {"event":"connection","bytesReceived","type","ok","errorCode"}: a connection was closed.
  void connection(const ConnectionSummary& summary);

 private:
  void write(const nlohmann::ordered_json& event);

  std::ostream& stream_;
  std::mutex mutex_;
};

}  // namespace korvan::lab::host
