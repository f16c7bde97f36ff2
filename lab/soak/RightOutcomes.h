#pragma once

#include <cstdint>
#include <vector>

#include "lab/soak/plan/SoakPlan.h"
#include "lab/system/Outcome.h"

namespace korvan::lab::soak {

/// The right outcomes of a request with which the host did what its plan says: one, or where the
/// kernel may report the same in several ways, a few. `isLaunched`: the extension had the host
/// opened for it.
[[nodiscard]] std::vector<Outcome> rightOutcomes(const SoakPlan& plan, std::uint64_t number,
                                                 bool isLaunched);

/// The right outcomes, besides those, of a request while which the host was down, came up or died:
/// each way in which a connection that cannot be made or is cut is told.
[[nodiscard]] std::vector<Outcome> outcomesOfOutage(const SoakPlan& plan, std::uint64_t number,
                                                    bool isLaunched);

}  // namespace korvan::lab::soak
