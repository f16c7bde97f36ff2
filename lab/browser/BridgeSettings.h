#pragma once

#include <string>

#include "lab/system/LabSettings.h"

namespace korvan::lab {

// The settings of the system that bridges play. `korvan-lab browser` writes them into the profile.

/// As JSON. Only the notice modes windowWhenNeeded and pressOk are told apart.
[[nodiscard]] std::string bridgeSettingsText(const LabSettings& settings);

/// Reads what bridgeSettingsText() writes. Throws std::runtime_error that says what is wrong.
[[nodiscard]] LabSettings bridgeSettingsFrom(const std::string& text);

}  // namespace korvan::lab
