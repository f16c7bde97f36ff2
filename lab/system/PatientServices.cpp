#include "lab/system/PatientServices.h"

#include <algorithm>
#include <cerrno>
#include <limits>

#include <sys/socket.h>
#include <sys/time.h>

namespace korvan::lab {
namespace {

/// A call that its timeout ended says so in its own words.
template <typename Result>
Result endedBy(Patience& patience, Result result) {
  if (result < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
    patience.giveUp();
    errno = ETIMEDOUT;
  }
  return result;
}

}  // namespace

/// False, with errno ETIMEDOUT, if the patience is over already.
bool PatientSockets::limit(int descriptor, int option, std::string_view whatFor) const {
  if (patience_.isOver()) {
    patience_.giveUp();
    errno = ETIMEDOUT;
    return false;
  }
  patience_.waitFor(whatFor);
  if (const auto left = patience_.left()) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(*left);
    const timeval time{.tv_sec = seconds.count(),
                       .tv_usec = std::chrono::microseconds(*left - seconds).count()};
    ::setsockopt(descriptor, SOL_SOCKET, option, &time, sizeof time);
  }
  return true;
}

int PatientSockets::connect(int descriptor, std::string_view path) const {
  // The kernel applies it to connections too.
  return limit(descriptor, SO_SNDTIMEO, "accept the connection")
             ? endedBy(patience_, ForwardedSockets::connect(descriptor, path))
             : -1;
}

std::ptrdiff_t PatientSockets::send(int descriptor, std::span<const std::uint8_t> bytes) const {
  return limit(descriptor, SO_SNDTIMEO, "take the request")
             ? endedBy(patience_, ForwardedSockets::send(descriptor, bytes))
             : -1;
}

std::ptrdiff_t PatientSockets::recv(int descriptor, std::span<std::uint8_t> bytes) const {
  return limit(descriptor, SO_RCVTIMEO, "answer")
             ? endedBy(patience_, ForwardedSockets::recv(descriptor, bytes))
             : -1;
}

double PatientClock::systemUptime() const {
  return patience_.gaveUp() ? std::numeric_limits<double>::infinity() : clock_.systemUptime();
}

void PatientClock::usleep(std::uint32_t microseconds) const {
  patience_.waitFor("start and listen");
  if (patience_.isOver()) {
    patience_.giveUp();
    return;
  }
  const std::chrono::microseconds wanted(microseconds);
  const auto granted = std::min<std::chrono::microseconds>(
      wanted, patience_.left().value_or(std::chrono::ceil<Patience::Milliseconds>(wanted)));
  clock_.usleep(static_cast<std::uint32_t>(granted.count()));
}

}  // namespace korvan::lab
