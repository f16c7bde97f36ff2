#pragma once

#include <cstdint>

#include "lab/Call.h"
#include "lab/soak/host/SoakPlan.h"

namespace korvan::lab {

/// The call of the plan's request of this number.
[[nodiscard]] Call soakCall(const soak::SoakPlan& plan, std::uint64_t number);

}  // namespace korvan::lab
