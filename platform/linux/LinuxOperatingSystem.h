#pragma once

#include "platform/OperatingSystem.h"

namespace korvan {

/// The macOS version whose behaviour Linux stands in for.
class LinuxOperatingSystem final : public OperatingSystem {
 public:
  explicit LinuxOperatingSystem(OperatingSystemVersion version) : version_(version) {}

  [[nodiscard]] bool isAtLeast(OperatingSystemVersion version) const override;

 private:
  const OperatingSystemVersion version_;
};

}  // namespace korvan
