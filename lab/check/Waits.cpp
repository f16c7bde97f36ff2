#include "lab/check/Waits.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <tuple>
#include <utility>

#include <poll.h>

namespace korvan::lab::check {
namespace {

constexpr Waits::Duration SilentTime = std::chrono::seconds(1);
constexpr Waits::Duration AskingInterval = std::chrono::milliseconds(5);

constexpr int None = -1;

/// Whether the event, or an error or hang-up, occurs before `end`. Throws Interrupted when the
/// interruption comes first. Either descriptor may be None.
bool occurs(int descriptor, short event, Waits::Clock::time_point end, int interruption) {
  std::array watched{pollfd{.fd = descriptor, .events = event, .revents = 0},
                     pollfd{.fd = interruption, .events = POLLIN, .revents = 0}};
  int count = 0;
  do {
    const auto left = std::chrono::ceil<Waits::Duration>(end - Waits::Clock::now());
    count = ::poll(watched.data(), watched.size(),
                   static_cast<int>(std::max(left, Waits::Duration::zero()).count()));
  } while (count < 0 && errno == EINTR);
  if (count > 0 && watched[0].revents == 0) {
    throw Interrupted{};
  }
  return count > 0;
}

}  // namespace

Waits::Waits(Duration timeout, Notice notice)
    : timeout_(timeout), notice_(std::move(notice)), deadline_(Clock::now() + timeout) {}

Waits::Clock::time_point Waits::endOf(Duration limit) const {
  const auto now = Clock::now();
  // In milliseconds, since the greatest number of them is more than a time point holds.
  const auto left = std::chrono::ceil<Duration>(std::min(deadline_, end_) - now);
  return now + std::max(std::min(limit, left), Duration::zero());
}

bool Waits::forEvent(int descriptor, short event, const std::string& whatFor,
                     Duration limit) const {
  const auto end = endOf(limit);
  const auto silentEnd = Clock::now() + SilentTime;
  if (occurs(descriptor, event, std::min(end, silentEnd), None)) {
    return true;
  }
  if (end <= silentEnd) {
    return false;
  }
  notice_(whatFor);
  return occurs(descriptor, event, end, interruption_);
}

bool Waits::until(const std::function<bool()>& happened, const std::string& whatFor,
                  Duration limit) const {
  const auto end = endOf(limit);
  const auto silentEnd = Clock::now() + SilentTime;
  bool told = false;
  std::ignore = occurs(None, 0, Clock::now(), interruption_);
  while (!happened()) {
    const auto now = Clock::now();
    if (now >= end) {
      return false;
    }
    if (now >= silentEnd && !told) {
      notice_(whatFor);
      told = true;
    }
    // No descriptor tells of it: a person or another process does it.
    std::ignore = occurs(None, 0, now + AskingInterval, interruption_);
  }
  return true;
}

}  // namespace korvan::lab::check
