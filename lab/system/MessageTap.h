#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "lab/system/ForwardedSockets.h"
#include "platform/Data.h"

namespace korvan::lab {

enum class Direction : std::uint8_t { request, response };

/// The body of a whole frame that went over a socket.
struct RecordedFrame {
  Direction direction = Direction::request;
  Data body;
};

/// A message while it goes over a socket: a whole frame's body, or all that was read of an answer
/// that is not a whole frame when the connection is closed.
struct PassingMessage {
  Direction direction = Direction::request;
  bool isWhole = true;
  Data bytes;
};

/// Forwards to other sockets, and records every byte that goes over them.
class MessageTap final : public ForwardedSockets {
 public:
  /// Refers to `sockets`, which outlives it.
  explicit MessageTap(const LocalSockets& sockets) : ForwardedSockets(sockets) {}

  /// Has `listener` called for each message as it goes over a socket, on the thread that sends or
  /// receives. Set before the first connection.
  using Listener = std::function<void(const PassingMessage& message)>;
  void onMessage(Listener listener) { listener_ = std::move(listener); }

  [[nodiscard]] int connect(int descriptor, std::string_view path) const override;
  [[nodiscard]] std::ptrdiff_t send(int descriptor,
                                    std::span<const std::uint8_t> bytes) const override;
  [[nodiscard]] std::ptrdiff_t recv(int descriptor, std::span<std::uint8_t> bytes) const override;
  void close(int descriptor) const override;

  /// The whole frames so far, by connection in the order they were made, and the request before the
  /// response. Incomplete frames are left out.
  [[nodiscard]] std::vector<RecordedFrame> frames() const;

  /// How many connections have failed so far.
  [[nodiscard]] std::size_t failedConnections() const;

 private:
  using Bytes = std::vector<std::uint8_t>;
  struct Connection {
    Bytes sent;
    Bytes received;
    // Whether the listener has heard of them.
    bool requestTold = false;
    bool answerTold = false;
  };
  void record(int descriptor, Bytes Connection::* direction,
              std::span<const std::uint8_t> bytes) const;
  [[nodiscard]] std::vector<PassingMessage> untoldMessages(int descriptor, bool isClosed) const;
  void tellMessages(int descriptor, bool isClosed) const;

  mutable std::mutex mutex_;
  mutable std::vector<Connection> connections_;
  mutable std::size_t failedConnections_ = 0;
  /// Maps open descriptors to connections. The kernel reuses a descriptor once it is closed.
  mutable std::map<int, std::size_t> open_;
  Listener listener_;
};

}  // namespace korvan::lab
