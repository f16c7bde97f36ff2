#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lab/soak/SoakRequest.h"
#include "lab/soak/plan/SoakLog.h"
#include "lab/system/Outcome.h"

namespace korvan::lab::soak {

/// A connection that the extension made for a request, or tried to make.
struct SoakAttempt {
  /// A whole frame with the request was sent.
  bool isRequestSent = false;
  /// The digest of what was sent.
  std::uint64_t digest = 0;
};

/// What was recorded of one request on the extension's side. Times are those of now().
struct SoakEvidence {
  SoakRequest request;
  std::int64_t start = 0;
  std::int64_t end = 0;
  /// The extension opened the host.
  bool isLaunched = false;
  /// All outcomes that the system was told. One, if all is well.
  std::vector<Outcome> outcomes;
  std::vector<SoakAttempt> attempts;
  /// Something still owned the request when its work was done.
  bool isKept = false;
};

/// The requests to one host application in one round, and what its hosts logged.
struct SoakRound {
  /// A host was serving when the round began.
  bool isUpAtStart = false;
  std::vector<SoakEvidence> requests;
  std::vector<SoakRecord> records;
};

/// The outcome in a few words, which are the same for outcomes that differ only in their data.
[[nodiscard]] std::string kindOf(const Outcome& outcome);

/// Whether a host was serving after these records.
[[nodiscard]] bool isUpAfter(bool isUpBefore, const std::vector<SoakRecord>& records);

/// A sentence for each thing that is wrong with a round. Checks that
///
/// - every request had exactly one outcome, and a right one: one of rightOutcomes(), or also of
///   outcomesOfOutage() if the host was not serving from the request's start to its end;
/// - every request that the extension sent whole is in the hosts' log, unless the host did not read
///   that far or was down, and every request in the log was sent, byte for byte.
[[nodiscard]] std::vector<std::string> flawsOf(const SoakRound& round);

}  // namespace korvan::lab::soak
