#pragma once

#include <vector>

#include "platform/OperatingSystem.h"

namespace korvan {

/// An operating system whose version the test sets.
class FakeOperatingSystem : public OperatingSystem {
 public:
  [[nodiscard]] bool isAtLeast(OperatingSystemVersion wanted) const override {
    questions.push_back(wanted);
    return version >= wanted;
  }

  [[nodiscard]] std::string preferredUserVerification() const override { return preferred; }

  OperatingSystemVersion version{.major = 15};
  std::string preferred = "preferred";
  mutable std::vector<OperatingSystemVersion> questions;
};

}  // namespace korvan
