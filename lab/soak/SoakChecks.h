#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lab/soak/SoakRequest.h"
#include "lab/soak/plan/SoakLog.h"
#include "lab/system/Outcome.h"

namespace korvan::lab::soak {

/// One connection that the extension made for a request, or tried to.
struct SoakAttempt {
  /// A whole frame was sent, and its message is the request's.
  bool isRequestSent = false;
  /// Of what was sent.
  std::uint64_t digest = 0;
};

/// What was seen of one request on the extension's side. Times are of now().
struct SoakEvidence {
  SoakRequest request;
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

/// The outcome in a few words, alike for outcomes that differ in their data only.
[[nodiscard]] std::string kindOf(const Outcome& outcome);

/// Whether a host served after these records, when it did before them.
[[nodiscard]] bool isUpAfter(bool isUpBefore, const std::vector<SoakRecord>& records);

/// What is wrong with a round, a sentence for each; none when all is well. In detail:
///
/// Every request had one outcome, and the right one. That is what rightOutcomes() says when the
/// host served from the request's start to its end, and otherwise, when it died meanwhile or was
/// not up yet, also what outcomesOfOutage() says.
///
/// Every request that the extension sent whole is in the hosts' log as received, except where the
/// host does not read that far or was down; and every one in the log was sent, byte for byte.
[[nodiscard]] std::vector<std::string> flawsOf(const SoakRound& round);

}  // namespace korvan::lab::soak
