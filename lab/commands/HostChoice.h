#pragma once

#include <functional>

#include <nlohmann/json.hpp>

#include "lab/commands/SystemOptions.h"
#include "lab/system/LabSettings.h"

namespace korvan::lab {

/// True when the options name the host that a command talks to.
[[nodiscard]] bool namesHost(const SystemOptions& options);

/// What a command does with its host. Returns true on success.
using HostUser = std::function<bool(const LabSettings& settings)>;

/// The same with a sample host of its own, whose event "ready" lists its passkeys.
using OwnHostUser =
    std::function<bool(const LabSettings& settings, const nlohmann::json& readyEvent)>;

/// Runs a command with the host that the settings name. Returns the exit status, which is
/// HostAbsent when the command failed and nobody listens.
[[nodiscard]] int useHost(const LabSettings& settings, const HostUser& use);

/// Runs a command with a sample host of its own, in a private directory that replaces the settings'
/// container. Both are gone on return, even after an interruption. Returns the exit status.
[[nodiscard]] int useOwnHost(LabSettings settings, const OwnHostUser& use);

}  // namespace korvan::lab
