#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "lab/check/Waits.h"
#include "lab/support/Descriptor.h"

namespace korvan::lab::check {

/// Why no more bytes were read.
enum class Ending : std::uint8_t {
  complete,  ///< there were as many as asked for
  closed,    ///< the host closed the connection
  reset,     ///< the connection broke
  timedOut,  ///< the host sent no more in time
};

struct Received {
  std::vector<std::uint8_t> bytes;
  Ending ending = Ending::complete;
};

/// One connection to the host, for which every byte is up to the caller. Closed with this object.
class Connection {
 public:
  using Duration = Waits::Duration;

  /// Connects to the socket at `path`. `waits` outlives the connection. Throws a CheckEnd that says
  /// why when nobody takes it.
  Connection(const std::string& path, const Waits& waits);

  [[nodiscard]] int descriptor() const noexcept { return socket_.get(); }

  /// Sends all the bytes. False when the host has closed its side, or takes no more in time.
  bool send(std::span<const std::uint8_t> bytes);

  /// The body in a frame.
  bool sendFrame(std::span<const std::uint8_t> body);

  /// Sends no more; the host sees the end of the stream.
  void halfClose();

  /// Closes at once. With bytes of the host unread, the host sees a reset instead of the end.
  void close() { socket_ = {}; }

  /// Waits until the host has sent something, or closed, without reading it.
  [[nodiscard]] bool waitForBytes(Duration limit = Duration::max()) const;

  /// Reads as many bytes as have come, when some have, and at most that many. `complete` means that
  /// there were some.
  [[nodiscard]] Received readSome(std::size_t most, Duration limit = Duration::max());

  /// Reads `size` bytes, or fewer when the host ends before.
  [[nodiscard]] Received read(std::size_t size, Duration limit = Duration::max());

  /// True when the host closes, sending nothing more, within `limit`.
  [[nodiscard]] bool closesWithin(Duration limit);

 private:
  const Waits& waits_;
  Descriptor socket_;
};

/// The system's words for an `errno` value.
[[nodiscard]] std::string errorText(int error);

/// How many bytes there are, and the first of them in hexadecimal and as text.
[[nodiscard]] std::string described(std::span<const std::uint8_t> bytes);

}  // namespace korvan::lab::check
