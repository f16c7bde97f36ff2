#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace korvan {

/// Blocking Unix-domain stream sockets. Each member function makes one system call, once, and fails
/// as that call does: with a negative or non-zero result and `errno` set. On success `errno` is
/// unchanged. Thread-safe; a descriptor belongs to whoever created it.
class LocalSockets {
 public:
  /// The longest path that connect() takes, in bytes, without a terminator.
  static constexpr std::size_t MaxPathSize = 103;

  virtual ~LocalSockets() = default;

  /// A new stream socket's descriptor, or a negative value.
  [[nodiscard]] virtual int socket() const = 0;

  /// Connects to the socket file at `path`, which has at most MaxPathSize bytes. Returns 0 on
  /// success.
  [[nodiscard]] virtual int connect(int descriptor, std::string_view path) const = 0;

  /// Gets the connected peer's effective ids. Returns 0 on success; on failure the arguments are
  /// unchanged.
  [[nodiscard]] virtual int getpeereid(int descriptor, std::int64_t& userIdentifier,
                                       std::int64_t& groupIdentifier) const = 0;

  /// Gets the connected peer's process id. Returns 0 on success; on failure the argument is
  /// unchanged.
  [[nodiscard]] virtual int getPeerProcessIdentifier(int descriptor,
                                                     std::int32_t& processIdentifier) const = 0;

  /// This process's real user id.
  [[nodiscard]] virtual std::int64_t getuid() const = 0;

  /// Sends some of `bytes` without raising SIGPIPE. Returns the number sent, or a negative value.
  [[nodiscard]] virtual std::ptrdiff_t send(int descriptor,
                                            std::span<const std::uint8_t> bytes) const = 0;

  /// Receives up to `bytes.size()` bytes. Returns the number received, 0 when the peer has closed
  /// the connection, or a negative value.
  [[nodiscard]] virtual std::ptrdiff_t recv(int descriptor,
                                            std::span<std::uint8_t> bytes) const = 0;

  virtual void close(int descriptor) const = 0;
};

}  // namespace korvan
