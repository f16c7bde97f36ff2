#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "platform/LocalSockets.h"

namespace korvan::lab {

/// Forwards every call to other sockets. Subclasses observe or change some of the calls.
class ForwardedSockets : public LocalSockets {
 public:
  /// Refers to `sockets`, which outlives it.
  explicit ForwardedSockets(const LocalSockets& sockets) : sockets_(sockets) {}

  [[nodiscard]] int socket() const override { return sockets_.socket(); }
  [[nodiscard]] int connect(int descriptor, std::string_view path) const override {
    return sockets_.connect(descriptor, path);
  }
  [[nodiscard]] int getpeereid(int descriptor, std::int64_t& userIdentifier,
                               std::int64_t& groupIdentifier) const override {
    return sockets_.getpeereid(descriptor, userIdentifier, groupIdentifier);
  }
  [[nodiscard]] int getPeerProcessIdentifier(int descriptor,
                                             std::int32_t& processIdentifier) const override {
    return sockets_.getPeerProcessIdentifier(descriptor, processIdentifier);
  }
  [[nodiscard]] std::int64_t getuid() const override { return sockets_.getuid(); }
  [[nodiscard]] std::ptrdiff_t send(int descriptor,
                                    std::span<const std::uint8_t> bytes) const override {
    return sockets_.send(descriptor, bytes);
  }
  [[nodiscard]] std::ptrdiff_t recv(int descriptor, std::span<std::uint8_t> bytes) const override {
    return sockets_.recv(descriptor, bytes);
  }
  void close(int descriptor) const override { sockets_.close(descriptor); }

 private:
  const LocalSockets& sockets_;
};

}  // namespace korvan::lab
