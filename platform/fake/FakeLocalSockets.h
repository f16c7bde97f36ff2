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

/// How one connection, and the peer at its other end, behave. As it stands: a peer of the same user
/// that takes everything and closes without an answer.
struct FakePeer {
  static constexpr std::size_t Unlimited = std::numeric_limits<std::size_t>::max();
  using Bytes = std::vector<std::uint8_t>;

  // A value other than 0 makes the call fail with this `errno`.
  int socketErrno = 0;
  int connectErrno = 0;
  int peerIdentifiersErrno = 0;
  int peerProcessErrno = 0;
  /// As in life, the descriptor is closed nevertheless.
  int closeErrno = 0;

  std::int64_t userIdentifier = 501;
  std::int32_t processIdentifier = 4242;

  /// Every send and recv is first interrupted this often by a signal.
  std::size_t interruptions = 0;
  /// The most bytes that one send or recv moves.
  std::size_t bytesPerCall = Unlimited;

  /// After so many bytes of the request, send returns 0 when `sendErrno` is 0, else fails with it.
  std::size_t takes = Unlimited;
  int sendErrno = 32;  // EPIPE on every system that this runs on.

  /// What the peer writes, given the whole frame that it read; asked once, at the first recv.
  std::function<Bytes(const Bytes& requestFrame)> answer;
  /// After so many bytes of the answer, recv returns 0 when `recvErrno` is 0, else fails with it.
  std::size_t gives = Unlimited;
  int recvErrno = 0;

  /// Called at the start of every send.
  std::function<void()> onSend;
  /// Called at the start of every recv: the host takes its time.
  std::function<void()> onRecv;
};

/// Sockets whose peers are played by scripts. Aborts on a call that breaks the rules: a descriptor
/// that is not open, or an empty transfer.
class FakeLocalSockets : public LocalSockets {
 public:
  /// What one socket saw.
  struct Connection {
    FakePeer peer;
    std::vector<std::string> calls;
    std::string path;
    FakePeer::Bytes received;
    /// Where each send found its bytes.
    std::vector<const std::uint8_t*> sentFrom;
    /// Where each recv put its bytes, and for how many it had room.
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
  /// What all peers together were sent.
  [[nodiscard]] std::size_t bytesReceivedByPeers() const;

  std::int64_t userIdentifier = 501;
  /// The peers of the connections to come, in order; `peer` plays all later ones.
  mutable std::deque<FakePeer> nextPeers;
  FakePeer peer;
  /// All sockets so far. The first has descriptor 0, as it may have in life.
  mutable std::deque<Connection> connections;

 private:
  Connection& at(int descriptor, std::string_view call) const;
};

}  // namespace korvan
