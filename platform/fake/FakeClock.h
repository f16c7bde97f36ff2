#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "platform/Clock.h"

namespace korvan {

/// A clock that advances when code sleeps on it, or when the test sets it.
class FakeClock : public Clock {
 public:
  [[nodiscard]] double systemUptime() const override {
    ++readings;
    return uptime;
  }
  void usleep(std::uint32_t microseconds) const override {
    sleeps.push_back(microseconds);
    uptime += microseconds / 1e6;
    if (onSleep) {
      onSleep();
    }
  }

  /// Called at the end of every sleep.
  std::function<void()> onSleep;
  mutable double uptime = 1000;
  mutable std::size_t readings = 0;
  mutable std::vector<std::uint32_t> sleeps;
};

}  // namespace korvan
