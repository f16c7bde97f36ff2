#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "lab/soak/SoakEvidence.h"
#include "platform/LocalSockets.h"

namespace korvan::lab {

/// The sockets of one request: they show the host the request's number and which attempt it is, and
/// count what is sent. Otherwise those it is given. Used by one thread at a time.
class NumberedSockets final : public LocalSockets {
 public:
  /// Refers to `sockets`, which outlives it.
  NumberedSockets(const LocalSockets& sockets, std::uint64_t number)
      : sockets_(sockets), number_(number) {}

  [[nodiscard]] int socket() const override { return sockets_.socket(); }
  [[nodiscard]] int connect(int descriptor, std::string_view path) const override;
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
                                    std::span<const std::uint8_t> bytes) const override;
  [[nodiscard]] std::ptrdiff_t recv(int descriptor, std::span<std::uint8_t> bytes) const override {
    return sockets_.recv(descriptor, bytes);
  }
  void close(int descriptor) const override { sockets_.close(descriptor); }

  /// All attempts so far, in order.
  [[nodiscard]] std::vector<SoakAttempt> attempts() const;

 private:
  const LocalSockets& sockets_;
  const std::uint64_t number_;
  /// What each attempt sent.
  mutable std::vector<std::vector<std::uint8_t>> sent_;
};

}  // namespace korvan::lab
