#pragma once

#include <functional>

#include <nlohmann/json.hpp>

#include "lab/commands/SystemOptions.h"
#include "lab/system/LabSettings.h"

namespace korvan::lab {

/// True when the options say which host application, or where, a command talks to.
[[nodiscard]] bool nameAHost(const SystemOptions& options);

/// What a command does with the host that it talks to: true when all went well.
using HostUser = std::function<bool(const LabSettings& settings)>;

/// The same with a sample host, whose event "ready" tells of its passkeys.
using OwnHostUser =
    std::function<bool(const LabSettings& settings, const nlohmann::json& readyEvent)>;

/// Runs a command that talks to a host that exists, and gives the exit status.
[[nodiscard]] int useHost(const LabSettings& settings, const HostUser& use);

/// Runs a command with a sample host of its own, in a private directory: the settings' container
/// does not count. Neither is left on return,
/// nor when it is interrupted. Gives the exit status.
[[nodiscard]] int useOwnHost(LabSettings settings, const OwnHostUser& use);

}  // namespace korvan::lab
