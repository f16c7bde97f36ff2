#include "lab/check/Connection.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include "channel/ProviderFrame.h"
#include "lab/check/Check.h"
#include "platform/linux/LinuxLocalSockets.h"

namespace korvan::lab::check {
namespace {

/// Does not block, so that a host that neither accepts nor reads holds nobody up.
Descriptor newSocket() {
  Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (socket.get() < 0) {
    throw std::system_error(errno, std::generic_category(), "making a socket");
  }
  return socket;
}

}  // namespace

std::string errorText(int error) { return std::generic_category().message(error); }

Connection::Connection(const std::string& path, const Waits& waits)
    : waits_(waits), socket_(newSocket()) {
  const LinuxLocalSockets sockets;
  int error = 0;
  const auto connects = [&] {
    error = sockets.connect(socket_.get(), path) == 0 ? 0 : errno;
    // The queue of connections that the host has not accepted is full.
    return error != EAGAIN;
  };
  if (!waits_.until(connects, "the host to accept connections") || error != 0) {
    throw CheckEnd(failed({.got = "connecting to " + path + ": " + errorText(error),
                           .wanted = "a host that listens there",
                           .hint = error == EAGAIN ? "nobody calls accept()" : "nobody listens"}));
  }
}

bool Connection::send(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {
      if (!waits_.forEvent(socket_.get(), POLLOUT, "the host to read the request")) {
        return false;
      }
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

bool Connection::sendFrame(std::span<const std::uint8_t> body) {
  return send(encodeProviderFramePrefix(body.size())) && send(body);
}

void Connection::halfClose() { ::shutdown(socket_.get(), SHUT_WR); }

bool Connection::waitForBytes(Duration limit) const {
  return waits_.forEvent(socket_.get(), POLLIN, "the host to answer", limit);
}

Received Connection::readSome(std::size_t most, Duration limit) {
  constexpr std::size_t Piece = 65536;
  Received received;
  while (waitForBytes(limit)) {
    received.bytes.resize(std::min(most, Piece));
    const ssize_t count = ::recv(socket_.get(), received.bytes.data(), received.bytes.size(), 0);
    const int error = errno;
    received.bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    if (count >= 0) {
      received.ending = count > 0 ? Ending::complete : Ending::closed;
      return received;
    }
    if (error != EINTR && error != EAGAIN) {
      received.ending = Ending::reset;
      return received;
    }
  }
  received.ending = Ending::timedOut;
  return received;
}

Received Connection::read(std::size_t size, Duration limit) {
  const auto start = Waits::Clock::now();
  Received received;
  while (received.bytes.size() < size && received.ending == Ending::complete) {
    const auto spent = std::chrono::duration_cast<Duration>(Waits::Clock::now() - start);
    const Received some =
        readSome(size - received.bytes.size(), std::max(limit - spent, Duration::zero()));
    received.bytes.insert(received.bytes.end(), some.bytes.begin(), some.bytes.end());
    received.ending = some.ending;
  }
  return received;
}

bool Connection::closesWithin(Duration limit) { return read(1, limit).ending == Ending::closed; }

std::string described(std::span<const std::uint8_t> bytes) {
  constexpr std::size_t Shown = 16;
  const auto shown = bytes.first(std::min(bytes.size(), Shown));
  std::string hexadecimal;
  std::string text;
  for (const std::uint8_t byte : shown) {
    std::array<char, 4> digits{};
    std::snprintf(digits.data(), digits.size(), "%02x ", byte);
    hexadecimal += digits.data();
    const bool printable = byte >= ' ' && byte <= '~';
    text += printable ? static_cast<char>(byte) : '.';
  }
  if (bytes.empty()) {
    return "nothing";
  }
  return std::to_string(bytes.size()) + (bytes.size() == 1 ? " byte: " : " bytes: ") + hexadecimal +
         (bytes.size() > Shown ? "… " : "") + "(\"" + text + "\")";
}

}  // namespace korvan::lab::check
