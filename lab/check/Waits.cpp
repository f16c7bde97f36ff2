#include "lab/check/Waits.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <poll.h>

namespace korvan::lab::check {
namespace {

constexpr Waits::Duration SilentTime = std::chrono::seconds(1);
constexpr Waits::Duration AskingInterval = std::chrono::milliseconds(5);

/// Whether the event, or an error or hang-up, occurs before `end`.
bool occurs(int descriptor, short event, Waits::Clock::time_point end) {
  pollfd watched{.fd = descriptor, .events = event, .revents = 0};
  while (true) {
    const auto left = std::chrono::ceil<Waits::Duration>(end - Waits::Clock::now());
    const int count =
        ::poll(&watched, 1, static_cast<int>(std::max(left, Waits::Duration::zero()).count()));
    if (count >= 0 || errno != EINTR) {
      return count > 0;
    }
  }
}

}  // namespace

Waits::Waits(Duration timeout, Notice notice)
    : timeout_(timeout), notice_(std::move(notice)), deadline_(Clock::now() + timeout) {}

Waits::Clock::time_point Waits::endOf(Duration limit) const {
  const auto now = Clock::now();
  // In milliseconds, since the greatest number of them is more than a time point holds.
  const auto left = std::chrono::ceil<Duration>(deadline_ - now);
  return now + std::max(std::min(limit, left), Duration::zero());
}

bool Waits::forEvent(int descriptor, short event, const std::string& whatFor,
                     Duration limit) const {
  const auto end = endOf(limit);
  const auto silentEnd = Clock::now() + SilentTime;
  if (occurs(descriptor, event, std::min(end, silentEnd))) {
    return true;
  }
  if (end <= silentEnd) {
    return false;
  }
  notice_(whatFor);
  return occurs(descriptor, event, end);
}

bool Waits::until(const std::function<bool()>& happened, const std::string& whatFor,
                  Duration limit) const {
  const auto end = endOf(limit);
  const auto silentEnd = Clock::now() + SilentTime;
  bool told = false;
  while (!happened()) {
    const auto now = Clock::now();
    if (now >= end) {
      return false;
    }
    if (now >= silentEnd && !told) {
      notice_(whatFor);
      told = true;
    }
    // Nothing to poll for: a person or another process does it.
    ::poll(nullptr, 0, static_cast<int>(AskingInterval.count()));
  }
  return true;
}

}  // namespace korvan::lab::check
