#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <variant>
#include <vector>

#include "lab/system/MessageTap.h"
#include "platform/Error.h"
#include "platform/ExtensionContext.h"

namespace korvan::lab {

struct CompletedAssertion {
  PasskeyAssertionCredential credential;
  friend bool operator==(const CompletedAssertion&, const CompletedAssertion&) = default;
};

struct CompletedRegistration {
  PasskeyRegistrationCredential credential;
  friend bool operator==(const CompletedRegistration&, const CompletedRegistration&) = default;
};

struct CompletedConfiguration {
  friend bool operator==(const CompletedConfiguration&, const CompletedConfiguration&) = default;
};

struct Canceled {
  Error error;
  /// The notice was up before the cancellation.
  bool noticeShown = false;
  friend bool operator==(const Canceled&, const Canceled&) = default;
};

/// The notice is up, and nobody presses OK.
struct NoticePending {
  friend bool operator==(const NoticePending&, const NoticePending&) = default;
};

/// The entry point of a credential update report returned.
struct Returned {
  friend bool operator==(const Returned&, const Returned&) = default;
};

/// The entry point refused its arguments.
struct Refused {
  std::string reason;
  friend bool operator==(const Refused&, const Refused&) = default;
};

/// The call was given up, because the host took longer than it may.
struct TimedOut {
  /// What the call waited for: what the host was to do.
  std::string waitedFor;
  friend bool operator==(const TimedOut&, const TimedOut&) = default;
};

/// How a call ended.
using Outcome = std::variant<CompletedAssertion, CompletedRegistration, CompletedConfiguration,
                             Canceled, NoticePending, Returned, Refused, TimedOut>;

/// The result of a call.
struct CallResult {
  Outcome outcome;
  /// From the call of the entry point to the outcome.
  double milliseconds = 0;
  /// What went over the socket, in order.
  std::vector<RecordedFrame> frames;
  /// How many connections failed.
  std::size_t failedConnections = 0;
};

/// True when the call's request was sent to a host.
[[nodiscard]] inline bool wasDelivered(const CallResult& result) {
  return std::ranges::any_of(result.frames, [](const RecordedFrame& frame) {
    return frame.direction == Direction::request;
  });
}

}  // namespace korvan::lab
