#pragma once

#include <memory>
#include <vector>

#include "lab/check/Check.h"
#include "lab/check/CheckContext.h"
#include "lab/check/report/CheckReport.h"

namespace korvan::lab::check {

using CheckReports = std::vector<std::unique_ptr<CheckReport>>;

/// Runs the checks in order, and shows each in the reports. A check is skipped when something is
/// missing that it needs, or after the failure of one that it names; if the host ends, it is
/// started again where that is possible. At the end the run's passkeys are removed.
[[nodiscard]] Counts runChecks(const std::vector<Check>& checks, CheckContext& context,
                               const CheckReports& reports);

}  // namespace korvan::lab::check
