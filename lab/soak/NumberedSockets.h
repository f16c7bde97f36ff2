#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "lab/soak/SoakEvidence.h"
#include "lab/system/ForwardedSockets.h"

namespace korvan::lab::soak {

/// The sockets of one request: they show the host the request's number and which attempt it is, and
/// count what is sent. Otherwise those it is given. Used by one thread at a time.
class NumberedSockets final : public ForwardedSockets {
 public:
  /// Refers to `sockets`, which outlives it.
  NumberedSockets(const LocalSockets& sockets, std::uint64_t number)
      : ForwardedSockets(sockets), number_(number) {}

  [[nodiscard]] int connect(int descriptor, std::string_view path) const override;
  [[nodiscard]] std::ptrdiff_t send(int descriptor,
                                    std::span<const std::uint8_t> bytes) const override;

  /// All attempts so far, in order.
  [[nodiscard]] std::vector<SoakAttempt> attempts() const;

 private:
  const std::uint64_t number_;
  /// What each attempt sent.
  mutable std::vector<std::vector<std::uint8_t>> sent_;
};

}  // namespace korvan::lab::soak
