#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/LocalSockets.h"

namespace korvan {

/// How a connection and its peer behave. By default: a peer of the same user that takes everything
/// and closes without an answer.
struct FakePeer {
  static constexpr std::size_t Unlimited = std::numeric_limits<std::size_t>::max();
  using Bytes = std::vector<std::uint8_t>;

  // A value other than 0 makes the call fail with this `errno`.
  int socketErrno = 0;
  int connectErrno = 0;
  int peerIdentifiersErrno = 0;
  int peerProcessErrno = 0;
  /// What a connect that fails returns: anything but 0.
  int connectResult = -1;
  /// As with the real call, the descriptor is closed nevertheless.
  int closeErrno = 0;

  std::int64_t userIdentifier = 501;
  std::int32_t processIdentifier = 4242;

  /// Signals interrupt every send and recv this many times first.
  std::size_t interruptions = 0;
  /// The most bytes that one send or recv moves.
  std::size_t bytesPerCall = Unlimited;

  /// After this many bytes of the request, send fails with `sendErrno`, or returns 0 if that is 0.
  std::size_t takes = Unlimited;
  int sendErrno = 32;  // EPIPE on both systems

  /// Makes the peer's answer from the whole frame that it read. Called once, at the first recv.
  std::function<Bytes(const Bytes& requestFrame)> answer;
  /// After this many bytes of the answer, recv fails with `recvErrno`, or returns 0 if that is 0.
  std::size_t gives = Unlimited;
  int recvErrno = 0;

  /// Called at the start of every send.
  std::function<void()> onSend;
  /// Called at the start of every recv.
  std::function<void()> onRecv;
};

/// Sockets with scripted peers. Aborts on a wrong call: on a descriptor that is not open, or for an
/// empty transfer.
class FakeLocalSockets : public LocalSockets {
 public:
  /// What one socket saw.
  struct Connection {
    FakePeer peer;
    std::vector<std::string> calls;
    std::string path;
    FakePeer::Bytes received;
    /// The address of each send's bytes.
    std::vector<const std::uint8_t*> sentFrom;
    /// The buffer of each recv.
    std::vector<std::span<const std::uint8_t>> receivedInto;
    FakePeer::Bytes answer;
    std::size_t given = 0;
    std::size_t interruptionsLeft = 0;
    bool open = false;
  };

  [[nodiscard]] int socket() const override;
  [[nodiscard]] int connect(int descriptor, std::string_view path) const override;
  [[nodiscard]] int getpeereid(int descriptor, std::int64_t& userIdentifier,
                               std::int64_t& groupIdentifier) const override;
  [[nodiscard]] int getPeerProcessIdentifier(int descriptor,
                                             std::int32_t& processIdentifier) const override;
  [[nodiscard]] std::int64_t getuid() const override { return userIdentifier; }
  [[nodiscard]] std::ptrdiff_t send(int descriptor,
                                    std::span<const std::uint8_t> bytes) const override;
  [[nodiscard]] std::ptrdiff_t recv(int descriptor, std::span<std::uint8_t> bytes) const override;
  void close(int descriptor) const override;

  [[nodiscard]] std::size_t openDescriptors() const;
  /// How many bytes all peers received.
  [[nodiscard]] std::size_t bytesReceivedByPeers() const;

  std::int64_t userIdentifier = 501;
  /// The peers of the next connections, in order. `peer` is that of all later ones.
  mutable std::deque<FakePeer> nextPeers;
  FakePeer peer;
  /// All sockets so far. The first has descriptor 0, which is a valid descriptor.
  mutable std::deque<Connection> connections;

 private:
  Connection& at(int descriptor, std::string_view call) const;
};

}  // namespace korvan
