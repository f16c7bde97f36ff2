#pragma once

#include <functional>

namespace korvan {

/// Where work runs. Callable from any thread.
///
/// Work is run as it was submitted, never as a copy, and released on the thread where it ran. An
/// exception that leaves work ends the process.
///
/// The last reference to the queues may go on the main thread while background work is still on its
/// way out of asyncMain(). Queues that have a state therefore wait, when they are destroyed, until
/// their background work has run.
class Queues {
 public:
  virtual ~Queues() = default;

  /// Runs `work` on the main thread, later, after what was submitted before. `work` may run, and
  /// end these queues, before this call returns: once it is handed over, the call uses neither it
  /// nor the queues.
  virtual void asyncMain(std::function<void()> work) const = 0;

  /// Runs `work` on the main thread and waits for it. Never called on the main thread.
  virtual void syncMain(const std::function<void()>& work) const = 0;

  /// Runs `work` on a background thread of quality of service user-initiated. Work that blocks does
  /// not keep other work waiting.
  virtual void asyncBackground(std::function<void()> work) const = 0;
};

}  // namespace korvan
