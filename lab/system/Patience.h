#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace korvan::lab {

/// How long a call may wait for the host, and what it waits for. Thread-safe.
class Patience {
 public:
  using Milliseconds = std::chrono::milliseconds;

  /// Without a limit a call waits for as long as the host takes.
  explicit Patience(std::optional<Milliseconds> limit) : limit_(limit) {}

  /// Gives the next call the whole limit.
  void restart();

  /// What is left of the limit, at least a millisecond; nullopt without a limit.
  [[nodiscard]] std::optional<Milliseconds> left() const;

  /// True when the limit is over.
  [[nodiscard]] bool isOver() const;

  // Whether something that waited was cut short. restart() forgets it.
  void giveUp();
  [[nodiscard]] bool gaveUp() const;

  /// Says what is waited for from now on, after "Waiting for the host to ".
  void waitFor(std::string_view whatFor);
  [[nodiscard]] std::string waitsFor() const;

 private:
  using Clock = std::chrono::steady_clock;

  const std::optional<Milliseconds> limit_;
  mutable std::mutex mutex_;
  Clock::time_point end_;
  std::string whatFor_;
  bool gaveUp_ = false;
};

}  // namespace korvan::lab
