#pragma once

#include "platform/OperatingSystem.h"

namespace korvan {

/// Pretends to be a macOS version.
class LinuxOperatingSystem final : public OperatingSystem {
 public:
  explicit LinuxOperatingSystem(OperatingSystemVersion version) : version_(version) {}

  [[nodiscard]] bool isAtLeast(OperatingSystemVersion version) const override;
  [[nodiscard]] std::string preferredUserVerification() const override { return "preferred"; }

 private:
  const OperatingSystemVersion version_;
};

}  // namespace korvan
