#pragma once

#include <atomic>
#include <cstddef>
#include <functional>

#include <glib.h>

#include "platform/Queues.h"

namespace korvan {

/// Main-thread work as sources of a GLib main context, background work on a GLib thread pool.
class LinuxQueues final : public Queues {
 public:
  /// The main thread is the one that runs `mainContext`, which this object holds a reference to.
  /// The process ends when GLib cannot make a thread pool.
  explicit LinuxQueues(GMainContext* mainContext);

  LinuxQueues(const LinuxQueues&) = delete;
  LinuxQueues& operator=(const LinuxQueues&) = delete;

  /// Waits until all background work has run. Main thread. No remaining background work may call
  /// syncMain(), which could not return, or asyncBackground(). Main-thread work stays with the
  /// context.
  ~LinuxQueues() override;

  /// Work runs in iterations of the context at G_PRIORITY_DEFAULT, in order of submission, never
  /// inside this call.
  void asyncMain(std::function<void()> work) const override;

  void syncMain(const std::function<void()>& work) const override;

  /// Each piece of work has a thread. Linux has no quality-of-service classes: threads have normal
  /// priority.
  ///
  /// When the system refuses a new thread, the work waits for the next thread that becomes free or
  /// can be created: the main context retries every 100 ms.
  void asyncBackground(std::function<void()> work) const override;

 private:
  static void runInBackground(gpointer submitted, gpointer queues) noexcept;

  GMainContext* const mainContext_;
  GThreadPool* backgroundPool_;
  /// Background work that has not yet been run and released. The destructor reads it so that thread
  /// sanitizers see that the work is done, which GLib's pool hides.
  mutable std::atomic<std::size_t> unfinished_ = 0;
};

}  // namespace korvan
