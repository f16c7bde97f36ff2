#include "platform/fake/FakeLocalSockets.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <utility>

namespace korvan {
namespace {

[[noreturn]] void brokenRule(std::string_view rule) {
  static_cast<void>(
      std::fprintf(stderr, "FakeLocalSockets: %.*s\n", static_cast<int>(rule.size()), rule.data()));
  std::abort();
}

int fail(int error, int result = -1) {
  errno = error;
  return result;
}

/// True when a signal interrupts this call; the next ones are let through until all have been.
bool isInterrupted(FakeLocalSockets::Connection& connection) {
  if (connection.interruptionsLeft == 0) {
    connection.interruptionsLeft = connection.peer.interruptions;
    return false;
  }
  --connection.interruptionsLeft;
  return true;
}

/// The end of a transfer that the peer cuts short.
std::ptrdiff_t cutShort(int error) { return error == 0 ? 0 : fail(error); }

}  // namespace

FakeLocalSockets::Connection& FakeLocalSockets::at(int descriptor, std::string_view call) const {
  const auto index = static_cast<std::size_t>(descriptor);
  if (descriptor < 0 || index >= connections.size() || !connections[index].open) {
    brokenRule("a call on a descriptor that is not open");
  }
  connections[index].calls.emplace_back(call);
  return connections[index];
}

int FakeLocalSockets::socket() const {
  FakePeer next = peer;
  if (!nextPeers.empty()) {
    next = std::move(nextPeers.front());
    nextPeers.pop_front();
  }
  Connection& connection = connections.emplace_back();
  connection.calls.emplace_back("socket");
  connection.interruptionsLeft = next.interruptions;
  connection.open = next.socketErrno == 0;
  connection.peer = std::move(next);
  return connection.open ? static_cast<int>(connections.size() - 1)
                         : fail(connection.peer.socketErrno);
}

int FakeLocalSockets::connect(int descriptor, std::string_view path) const {
  Connection& connection = at(descriptor, "connect");
  if (path.size() > MaxPathSize) {
    brokenRule("a path that does not fit an address");
  }
  connection.path = path;
  return connection.peer.connectErrno == 0
             ? 0
             : fail(connection.peer.connectErrno, connection.peer.connectResult);
}

int FakeLocalSockets::getpeereid(int descriptor, std::int64_t& peerUserIdentifier,
                                 std::int64_t& groupIdentifier) const {
  const Connection& connection = at(descriptor, "getpeereid");
  if (connection.peer.peerIdentifiersErrno != 0) {
    return fail(connection.peer.peerIdentifiersErrno);
  }
  peerUserIdentifier = connection.peer.userIdentifier;
  groupIdentifier = 20;
  return 0;
}

int FakeLocalSockets::getPeerProcessIdentifier(int descriptor,
                                               std::int32_t& processIdentifier) const {
  const Connection& connection = at(descriptor, "getPeerProcessIdentifier");
  if (connection.peer.peerProcessErrno != 0) {
    return fail(connection.peer.peerProcessErrno);
  }
  processIdentifier = connection.peer.processIdentifier;
  return 0;
}

std::ptrdiff_t FakeLocalSockets::send(int descriptor, std::span<const std::uint8_t> bytes) const {
  Connection& connection = at(descriptor, "send");
  if (bytes.empty()) {
    brokenRule("an empty send");
  }
  if (connection.peer.onSend) {
    connection.peer.onSend();
  }
  if (isInterrupted(connection)) {
    return fail(EINTR);
  }
  const std::size_t count = std::min({bytes.size(), connection.peer.bytesPerCall,
                                      connection.peer.takes - connection.received.size()});
  if (count == 0) {
    return cutShort(connection.peer.sendErrno);
  }
  connection.sentFrom.push_back(bytes.data());
  connection.received.insert(connection.received.end(), bytes.begin(),
                             bytes.begin() + static_cast<std::ptrdiff_t>(count));
  return static_cast<std::ptrdiff_t>(count);
}

std::ptrdiff_t FakeLocalSockets::recv(int descriptor, std::span<std::uint8_t> bytes) const {
  Connection& connection = at(descriptor, "recv");
  if (bytes.empty()) {
    brokenRule("an empty recv");
  }
  if (connection.peer.onRecv) {
    connection.peer.onRecv();
  }
  if (isInterrupted(connection)) {
    return fail(EINTR);
  }
  if (const auto answer = std::exchange(connection.peer.answer, nullptr)) {
    connection.answer = answer(connection.received);
  }
  const std::size_t available =
      std::min(connection.answer.size(), connection.peer.gives) - connection.given;
  const std::size_t count = std::min({bytes.size(), connection.peer.bytesPerCall, available});
  if (count == 0) {
    return cutShort(connection.peer.recvErrno);
  }
  std::copy_n(connection.answer.begin() + static_cast<std::ptrdiff_t>(connection.given), count,
              bytes.begin());
  connection.receivedInto.emplace_back(bytes);
  connection.given += count;
  return static_cast<std::ptrdiff_t>(count);
}

void FakeLocalSockets::close(int descriptor) const {
  Connection& connection = at(descriptor, "close");
  connection.open = false;
  if (connection.peer.closeErrno != 0) {
    errno = connection.peer.closeErrno;
  }
}

std::size_t FakeLocalSockets::openDescriptors() const {
  return static_cast<std::size_t>(
      std::ranges::count_if(connections, [](const Connection& each) { return each.open; }));
}

std::size_t FakeLocalSockets::bytesReceivedByPeers() const {
  return std::accumulate(
      connections.begin(), connections.end(), std::size_t{0},
      [](std::size_t sum, const Connection& each) { return sum + each.received.size(); });
}

}  // namespace korvan
