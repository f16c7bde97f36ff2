#pragma once

#include <functional>

namespace korvan {

/// Runs work on the main thread and in the background. Thread-safe.
///
/// Work is never copied, and is released on the thread where it ran. An exception that leaves work
/// ends the process.
///
/// The main thread may destroy the queues while background work is still returning from
/// asyncMain(). Queues with state therefore wait in their destructor until their background work
/// has run.
class Queues {
 public:
  virtual ~Queues() = default;

  /// Runs `work` on the main thread, later, after what was submitted before. `work` may run, and
  /// destroy these queues, before this call returns: an implementation must not use either after it
  /// has submitted the work.
  virtual void asyncMain(std::function<void()> work) const = 0;

  /// Runs `work` on the main thread and waits for it. Must not be called on the main thread.
  virtual void syncMain(const std::function<void()>& work) const = 0;

  /// Runs `work` on a background thread with quality of service user-initiated. Work that blocks
  /// does not delay other work.
  virtual void asyncBackground(std::function<void()> work) const = 0;
};

}  // namespace korvan
