#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lab/soak/SoakEvidence.h"
#include "lab/soak/plan/SoakPlan.h"

namespace korvan::lab::soak {

/// The outcome in a few words.
[[nodiscard]] std::string describe(const Outcome& outcome);

/// Whether a host served after these records, when it did before them.
[[nodiscard]] bool isUpAfter(bool isUpBefore, const std::vector<SoakRecord>& records);

/// What is wrong with a round, a sentence for each; none when all is well. In detail:
///
/// Every request had one outcome, and the right one. That is what rightOutcomes() says when the
/// host served from the request's start to its end, and otherwise, when it died meanwhile or was
/// not up yet, also what outcomesOfOutage() says.
///
/// Every request that the extension sent whole is in the hosts' log as received, except where the
/// host does not read that far or was down; and every one in the log was sent, byte for byte, and
/// was the right one.
[[nodiscard]] std::vector<std::string> flawsOf(const SoakPlan& plan, const SoakRound& round);

}  // namespace korvan::lab::soak
