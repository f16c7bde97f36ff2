#pragma once

#include <cstdint>

#include "platform/Clock.h"

namespace korvan {

/// CLOCK_MONOTONIC, which like the platform's uptime does not count the time that the system
/// sleeps.
class LinuxClock final : public Clock {
 public:
  [[nodiscard]] double systemUptime() const override;

  /// The full time, however many signals arrive.
  void usleep(std::uint32_t microseconds) const override;
};

}  // namespace korvan
