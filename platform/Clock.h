#pragma once

#include <cstdint>

namespace korvan {

/// Time that setting the wall clock does not disturb. Usable from any thread at once.
class Clock {
 public:
  virtual ~Clock() = default;

  /// Seconds since the system started.
  [[nodiscard]] virtual double systemUptime() const = 0;

  /// Blocks the calling thread for so many microseconds.
  virtual void usleep(std::uint32_t microseconds) const = 0;
};

}  // namespace korvan
