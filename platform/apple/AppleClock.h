#pragma once

#include <cstdint>

#include "platform/Clock.h"

namespace korvan {

/// NSProcessInfo's uptime, which does not advance while the system sleeps.
class AppleClock final : public Clock {
 public:
  [[nodiscard]] double systemUptime() const override;
  void usleep(std::uint32_t microseconds) const override;
};

}  // namespace korvan
