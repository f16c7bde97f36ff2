#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "platform/LocalSockets.h"

namespace korvan {

/// The kernel's Unix-domain sockets. LOCAL_PEERPID names a peer's process.
class AppleLocalSockets final : public LocalSockets {
 public:
  [[nodiscard]] int socket() const override;

  /// The address length is that of the path plus 2, for the bytes of length and family; the
  /// terminator is not counted. A path longer than MaxPathSize fails with ENAMETOOLONG.
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
