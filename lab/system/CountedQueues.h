#pragma once

#include <atomic>
#include <cstddef>
#include <functional>

#include <glib.h>

#include "platform/Queues.h"

namespace korvan::lab {

/// Forwards to other queues, and knows whether any work is left.
class CountedQueues final : public Queues {
 public:
  /// Refers to both, which outlive it. `queues` runs the main thread's work in `mainContext`.
  CountedQueues(const Queues& queues, GMainContext* mainContext)
      : queues_(queues), mainContext_(mainContext) {}

  void asyncMain(std::function<void()> work) const override;
  void syncMain(const std::function<void()>& work) const override;
  void asyncBackground(std::function<void()> work) const override;

  /// Runs the main thread's work, on this thread, until no work of either kind is left and
  /// everything that the work owned is released.
  void runUntilIdle() const;

  /// True when no work of either kind is left and everything that the work owned is released. Main
  /// thread, because the main thread's work may submit more.
  [[nodiscard]] bool isIdle() const { return pending_.load() == 0; }

 private:
  [[nodiscard]] std::function<void()> counted(std::function<void()> work) const;

  const Queues& queues_;
  GMainContext* const mainContext_;
  mutable std::atomic<std::size_t> pending_ = 0;
};

}  // namespace korvan::lab
