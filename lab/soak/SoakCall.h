#pragma once

#include <cstdint>

#include "lab/soak/plan/SoakPlan.h"
#include "lab/system/Call.h"

namespace korvan::lab::soak {

/// The call of the plan's request of this number.
[[nodiscard]] Call soakCall(const SoakPlan& plan, std::uint64_t number);

}  // namespace korvan::lab::soak
