#include "platform/linux/LinuxClock.h"

#include <cerrno>
#include <ctime>

namespace korvan {
namespace {

constexpr std::int64_t NanosecondsPerSecond = 1'000'000'000;
constexpr std::int64_t NanosecondsPerMicrosecond = 1'000;

timespec now() {
  timespec time{};
  ::clock_gettime(CLOCK_MONOTONIC, &time);
  return time;
}

timespec after(timespec time, std::int64_t nanoseconds) {
  const std::int64_t sum = time.tv_nsec + nanoseconds;
  time.tv_sec += sum / NanosecondsPerSecond;
  time.tv_nsec = sum % NanosecondsPerSecond;
  return time;
}

}  // namespace

double LinuxClock::systemUptime() const {
  const timespec time = now();
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

void LinuxClock::usleep(std::uint32_t microseconds) const {
  // Until a point in time, so that signals do not prolong the sleep.
  const timespec end = after(now(), microseconds * NanosecondsPerMicrosecond);
  while (::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
  }
}

}  // namespace korvan
