#pragma once

#include "platform/OperatingSystem.h"

namespace korvan {

/// NSProcessInfo's version of the system.
class AppleOperatingSystem final : public OperatingSystem {
 public:
  [[nodiscard]] bool isAtLeast(OperatingSystemVersion version) const override;
};

}  // namespace korvan
