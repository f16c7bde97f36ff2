#pragma once

#include <cstdint>

namespace korvan {

/// Monotonic time: setting the wall clock does not affect it. Thread-safe.
class Clock {
 public:
  virtual ~Clock() = default;

  /// Seconds since the system started.
  [[nodiscard]] virtual double systemUptime() const = 0;

  /// Blocks the calling thread for the given time.
  virtual void usleep(std::uint32_t microseconds) const = 0;
};

}  // namespace korvan
