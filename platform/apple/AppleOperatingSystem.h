#pragma once

#include "platform/OperatingSystem.h"

namespace korvan {

/// NSProcessInfo's system version, and AuthenticationServices' constants.
class AppleOperatingSystem final : public OperatingSystem {
 public:
  [[nodiscard]] bool isAtLeast(OperatingSystemVersion version) const override;
  [[nodiscard]] std::string preferredUserVerification() const override;
};

}  // namespace korvan
