#pragma once

#include "platform/OperatingSystem.h"

namespace korvan {

/// NSProcessInfo's version of the system, and AuthenticationServices' words.
class AppleOperatingSystem final : public OperatingSystem {
 public:
  [[nodiscard]] bool isAtLeast(OperatingSystemVersion version) const override;
  [[nodiscard]] std::string preferredUserVerification() const override;
};

}  // namespace korvan
