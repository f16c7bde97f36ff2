#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "lab/system/ForwardedSockets.h"
#include "lab/system/Patience.h"
#include "platform/Clock.h"

namespace korvan::lab {

/// Sockets of the kernel whose calls fail with ETIMEDOUT once the patience is over.
class PatientSockets final : public ForwardedSockets {
 public:
  /// Refers to both, which outlive it.
  PatientSockets(const LocalSockets& sockets, Patience& patience)
      : ForwardedSockets(sockets), patience_(patience) {}

  [[nodiscard]] int connect(int descriptor, std::string_view path) const override;
  [[nodiscard]] std::ptrdiff_t send(int descriptor,
                                    std::span<const std::uint8_t> bytes) const override;
  [[nodiscard]] std::ptrdiff_t recv(int descriptor, std::span<std::uint8_t> bytes) const override;

 private:
  [[nodiscard]] bool limit(int descriptor, int option, std::string_view whatFor) const;

  Patience& patience_;
};

/// A clock that lets nobody sleep longer than the patience lasts. After that it shows a time after
/// all others, so that nobody sleeps again.
class PatientClock final : public Clock {
 public:
  /// Refers to both, which outlive it.
  PatientClock(const Clock& clock, Patience& patience) : clock_(clock), patience_(patience) {}

  [[nodiscard]] double systemUptime() const override;
  void usleep(std::uint32_t microseconds) const override;

 private:
  const Clock& clock_;
  Patience& patience_;
};

}  // namespace korvan::lab
