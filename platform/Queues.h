#pragma once

#include <functional>

namespace korvan {

/// Where work runs. Callable from any thread. An exception that leaves work ends the process.
class Queues {
 public:
  virtual ~Queues() = default;

  /// Runs `work` on the main thread, later, after what was submitted before.
  virtual void asyncMain(std::function<void()> work) const = 0;

  /// Runs `work` on the main thread and waits for it. Never called on the main thread.
  virtual void syncMain(const std::function<void()>& work) const = 0;

  /// Runs `work` on a background thread of quality of service user-initiated, releases it, and then
  /// runs `mainWork`, unless it is empty, as asyncMain() does. `mainWork` outlives `work`, which
  /// may use what it owns. Work that blocks does not keep other work waiting. A queue that knows
  /// what is to follow can have the thread ready for more by then.
  virtual void asyncBackground(std::function<void()> work,
                               std::function<void()> mainWork = {}) const = 0;
};

}  // namespace korvan
