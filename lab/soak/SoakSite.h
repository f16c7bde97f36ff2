#pragma once

#include <cstdint>
#include <filesystem>

#include "lab/soak/plan/SoakLog.h"
#include "platform/linux/LinuxAppGroupContainers.h"
#include "platform/linux/LinuxWorkspace.h"

namespace korvan::lab::soak {

/// A host application of its own with its container, and what its hosts do in the course of time.
struct SoakSite {
  /// Makes the directory, with a copy in it of the misbehaving host that is built with the lab.
  /// Throws std::filesystem::filesystem_error when it cannot, and std::runtime_error, naming the
  /// places, when the host is neither beside the lab's own program nor in the folder of the build.
  explicit SoakSite(const std::filesystem::path& directory);

  /// Where the host is told what to do with the request of this number.
  [[nodiscard]] std::filesystem::path scriptOf(std::uint64_t number) const;
  /// And with the requests of clients that give no number.
  [[nodiscard]] std::filesystem::path scriptOfAny() const;

  std::filesystem::path program;
  LinuxAppGroupContainers containers;
  LinuxWorkspace workspace;
  SoakLogReader log;
};

}  // namespace korvan::lab::soak
