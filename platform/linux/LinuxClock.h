#pragma once

#include <cstdint>

#include "platform/Clock.h"

namespace korvan {

/// CLOCK_MONOTONIC. Like the platform's uptime it does not advance while the system sleeps.
class LinuxClock final : public Clock {
 public:
  [[nodiscard]] double systemUptime() const override;

  /// Sleeps for the full time, however many signals arrive.
  void usleep(std::uint32_t microseconds) const override;
};

}  // namespace korvan
