#pragma once

#include <functional>
#include <string>
#include <vector>

#include "lab/system/LabPlatform.h"

namespace korvan::lab {

/// Why the call that the platform served last failed although it opened the host, in sentences, and
/// what the program wrote to its standard error; nothing if the call started no program. A program
/// that does not listen yet is given up to ten seconds from its start by the clock `now`, if the
/// patience lasts. Main thread.
[[nodiscard]] std::vector<std::string> causesOfFailedLaunch(
    LabPlatform& platform,
    const std::function<LaunchedHost::Clock::time_point()>& now = LaunchedHost::Clock::now);

}  // namespace korvan::lab
