#pragma once

#include <deque>
#include <functional>

#include "platform/Queues.h"

namespace korvan {

/// Queues whose work waits until the test says to run it, all on the test's own thread. The test
/// itself stands on the main thread.
class FakeQueues : public Queues {
 public:
  void asyncMain(std::function<void()> work) const override;

  /// As a real main queue would, first runs what was submitted before. Aborts when called on the
  /// main thread, where the real call would wait for itself.
  void syncMain(const std::function<void()>& work) const override;

  void asyncBackground(std::function<void()> work) const override;

  /// Runs the oldest background work; false when there is none.
  bool runOneInBackground() const;
  /// Runs the main queue until it is empty.
  void runMain() const;
  /// Runs both queues until they are empty.
  void runAll() const;
  /// Drops what waits, so that what it refers to can go.
  void discard() const;

  [[nodiscard]] bool isOnMain() const { return onMain_; }
  [[nodiscard]] std::size_t waitingOnMain() const { return main_.size(); }
  [[nodiscard]] std::size_t waitingInBackground() const { return background_.size(); }

  /// Whether the main thread runs what background work submits before that work gets any further.
  bool mainIsFaster = false;

 private:
  void runMainMeanwhile() const;

  mutable std::deque<std::function<void()>> main_;
  mutable std::deque<std::function<void()>> background_;
  mutable bool onMain_ = true;
};

}  // namespace korvan
