#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>

#include "lab/processes/Interruption.h"

namespace korvan::lab::check {

/// Thrown by a wait when the run is to end. No std::exception, which is a check's own failure.
struct Interrupted {};

/// Bounds every wait of a run, and says what is waited for when that takes over a second. All waits
/// of one check together take no longer than the timeout.
class Waits {
 public:
  using Clock = std::chrono::steady_clock;
  using Duration = std::chrono::milliseconds;

  /// Puts what is waited for after "Waiting for ".
  using Notice = std::function<void(const std::string& whatFor)>;

  Waits(Duration timeout, Notice notice);

  /// Gives the next check the whole timeout, or `least` if that is longer.
  void restart(Duration least = Duration::zero()) {
    deadline_ = Clock::now() + std::max(timeout_, least);
  }

  /// Has waits throw Interrupted after the interruption, but not within their first second for an
  /// event: an answer that is on its way is still read. The interruption outlives this object.
  void heed(const Interruption& interruption) { interruption_ = interruption.descriptor(); }

  /// Heeds no interruption any more. From now on all waits together take no longer than `limit`.
  void end(Duration limit) {
    interruption_ = -1;
    end_ = Clock::now() + limit;
  }

  [[nodiscard]] Duration timeout() const noexcept { return timeout_; }

  /// How long the check that runs may still wait.
  [[nodiscard]] Duration left() const {
    return std::chrono::ceil<Duration>(endOf(Duration::max()) - Clock::now());
  }

  /// Waits until a poll(2) event occurs on the descriptor. False when `limit`, or the timeout if
  /// that comes first, is over before.
  [[nodiscard]] bool forEvent(int descriptor, short event, const std::string& whatFor,
                              Duration limit = Duration::max()) const;

  /// The same for anything that can be asked again and again.
  [[nodiscard]] bool until(const std::function<bool()>& happened, const std::string& whatFor,
                           Duration limit = Duration::max()) const;

 private:
  [[nodiscard]] Clock::time_point endOf(Duration limit) const;

  Duration timeout_;
  Notice notice_;
  Clock::time_point deadline_;
  Clock::time_point end_ = Clock::time_point::max();
  int interruption_ = -1;
};

}  // namespace korvan::lab::check
