#pragma once

#include <filesystem>

#include "lab/soak/plan/SoakLog.h"
#include "lab/soak/plan/SoakPlan.h"
#include "platform/linux/LinuxAppGroupContainers.h"
#include "platform/linux/LinuxWorkspace.h"

namespace korvan::lab::soak {

/// The misbehaving host that is built with the lab, beside the lab's own program or in the folder
/// of the build. Throws std::runtime_error, naming the places, when it is in neither.
[[nodiscard]] std::filesystem::path soakHostProgram();

/// A host application of its own with its container, and what its hosts do in the course of time.
struct SoakSite {
  /// Makes the directory, with a copy of the host in it. Throws std::filesystem::filesystem_error
  /// or std::runtime_error when it cannot.
  SoakSite(const std::filesystem::path& directory, const SoakPlan& plan);

  std::filesystem::path program;
  LinuxAppGroupContainers containers;
  LinuxWorkspace workspace;
  SoakLogReader log;
};

}  // namespace korvan::lab::soak
