#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "lab/soak/plan/SoakLog.h"
#include "lab/system/Outcome.h"

namespace korvan::lab::soak {

/// One connection that the extension made for a request, or tried to.
struct SoakAttempt {
  /// The request's whole frame was sent.
  bool isSentWhole = false;
  std::uint64_t bytesSent = 0;
};

/// What was seen of one request on the extension's side. Times are of now().
struct SoakEvidence {
  std::uint64_t number = 0;
  std::int64_t start = 0;
  std::int64_t end = 0;
  /// The extension had the host opened.
  bool isLaunched = false;
  /// All that the system was told: one, if all is well.
  std::vector<Outcome> outcomes;
  std::vector<SoakAttempt> attempts;
  /// Something still held the request when its work was over.
  bool isKept = false;
};

/// The requests that went to one host application in one round, and what its hosts say they did.
struct SoakRound {
  /// A host served when the round began.
  bool isUpAtStart = false;
  std::vector<SoakEvidence> requests;
  std::vector<SoakRecord> records;
};

}  // namespace korvan::lab::soak
