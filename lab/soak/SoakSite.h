#pragma once

#include <cstdint>
#include <filesystem>

#include "lab/soak/plan/SoakLog.h"
#include "platform/linux/LinuxAppGroupContainers.h"
#include "platform/linux/LinuxWorkspace.h"

namespace korvan::lab::soak {

/// A host application with its own container, and the log of its hosts.
struct SoakSite {
  /// Creates the directory, with a copy of the misbehaving host that was built with the lab.
  /// Throws std::filesystem::filesystem_error on failure, and std::runtime_error that names the
  /// places when the host is neither beside the lab's own program nor in the folder of the build.
  explicit SoakSite(const std::filesystem::path& directory);

  /// The host's script for the request with this number.
  [[nodiscard]] std::filesystem::path scriptOf(std::uint64_t number) const;
  /// The host's script for clients without a number.
  [[nodiscard]] std::filesystem::path scriptOfAny() const;

  std::filesystem::path program;
  LinuxAppGroupContainers containers;
  LinuxWorkspace workspace;
  SoakLogReader log;
};

}  // namespace korvan::lab::soak
