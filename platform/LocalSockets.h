#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace korvan {

/// Blocking Unix-domain stream sockets, one member function a system call: each is called once, and
/// reports as the call does, a negative or non-zero result with `errno` set. A success leaves
/// `errno` alone. Usable from any thread at once; a descriptor belongs to who made it.
class LocalSockets {
 public:
  /// The longest path that connect() takes, in bytes, without a terminator.
  static constexpr std::size_t MaxPathSize = 103;

  virtual ~LocalSockets() = default;

  /// A new stream socket's descriptor, or a negative value.
  [[nodiscard]] virtual int socket() const = 0;

  /// Connects to the socket file at `path`, of at most MaxPathSize bytes. 0, or not 0 on failure.
  [[nodiscard]] virtual int connect(int descriptor, std::string_view path) const = 0;

  /// The connected peer's effective ids. 0, or not 0 on failure, with the arguments as they were.
  [[nodiscard]] virtual int getpeereid(int descriptor, std::int64_t& userIdentifier,
                                       std::int64_t& groupIdentifier) const = 0;

  /// The connected peer's process id. 0, or not 0 on failure, with the argument as it was.
  [[nodiscard]] virtual int getPeerProcessIdentifier(int descriptor,
                                                     std::int32_t& processIdentifier) const = 0;

  /// This process's real user id.
  [[nodiscard]] virtual std::int64_t getuid() const = 0;

  /// Sends some of `bytes` without raising SIGPIPE. The count sent, or a negative value.
  [[nodiscard]] virtual std::ptrdiff_t send(int descriptor,
                                            std::span<const std::uint8_t> bytes) const = 0;

  /// Receives up to `bytes.size()` bytes. The count, 0 when the peer has closed, or a negative
  /// value.
  [[nodiscard]] virtual std::ptrdiff_t recv(int descriptor,
                                            std::span<std::uint8_t> bytes) const = 0;

  virtual void close(int descriptor) const = 0;
};

}  // namespace korvan
