#include "lab/host/StoppableOutput.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <span>
#include <tuple>

#include <poll.h>
#include <unistd.h>

namespace korvan::lab::host {
namespace {

/// Whether one of the events occurs before the limit in milliseconds; negative: there is none.
bool occurs(std::span<pollfd> events, int limit) {
  int count = 0;
  while ((count = ::poll(events.data(), events.size(), limit)) < 0 && errno == EINTR) {
  }
  return count > 0;
}

}  // namespace

std::streamsize StoppableOutput::xsputn(const char* text, std::streamsize size) {
  std::streamsize written = 0;
  while (written < size && waitForRoom()) {
    // As much as a pipe with any room takes at once.
    const auto some = static_cast<std::size_t>(std::min<std::streamsize>(size - written, PIPE_BUF));
    const ssize_t count = ::write(output_, text + written, some);
    if (count < 0 && errno != EINTR && errno != EAGAIN) {
      break;
    }
    written += std::max<ssize_t>(count, 0);
  }
  return written;
}

StoppableOutput::int_type StoppableOutput::overflow(int_type character) {
  const char byte = traits_type::to_char_type(character);
  return xsputn(&byte, 1) == 1 ? character : traits_type::eof();
}

bool StoppableOutput::waitForRoom() const {
  std::array events{pollfd{.fd = output_, .events = POLLOUT, .revents = 0},
                    pollfd{.fd = stop_, .events = POLLIN, .revents = 0}};
  std::ignore = occurs(events, -1);
  return events[0].revents != 0 ||
         occurs(std::span(events).first(1), static_cast<int>(patience_.count()));
}

}  // namespace korvan::lab::host
