#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "platform/LocalSockets.h"

namespace korvan {

/// The kernel's Unix-domain sockets. A peer's ids are those that the kernel recorded for the
/// connection (SO_PEERCRED), when the peer called listen() or socketpair().
/// https://man7.org/linux/man-pages/man7/unix.7.html
class LinuxLocalSockets final : public LocalSockets {
 public:
  /// The descriptor is close-on-exec: programs started later do not inherit it.
  [[nodiscard]] int socket() const override;

  /// A path longer than MaxPathSize fails with ENAMETOOLONG.
  [[nodiscard]] int connect(int descriptor, std::string_view path) const override;

  [[nodiscard]] int getpeereid(int descriptor, std::int64_t& userIdentifier,
                               std::int64_t& groupIdentifier) const override;
  [[nodiscard]] int getPeerProcessIdentifier(int descriptor,
                                             std::int32_t& processIdentifier) const override;
  [[nodiscard]] std::int64_t getuid() const override;
  [[nodiscard]] std::ptrdiff_t send(int descriptor,
                                    std::span<const std::uint8_t> bytes) const override;
  [[nodiscard]] std::ptrdiff_t recv(int descriptor, std::span<std::uint8_t> bytes) const override;
  void close(int descriptor) const override;
};

}  // namespace korvan
