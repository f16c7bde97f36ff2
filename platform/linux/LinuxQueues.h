#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include <glib.h>

#include "platform/Queues.h"
#include "platform/linux/MainQueueSource.h"

namespace korvan {

/// Main-thread work as a source of a GLib main context, background work on a GLib thread pool.
///
/// Work must not throw. It is released where it ran, right after it.
class LinuxQueues final : public Queues {
 public:
  /// The main thread is the one that runs `mainContext`, which this object holds a reference to.
  /// Null is the default context.
  explicit LinuxQueues(GMainContext* mainContext);

  LinuxQueues(const LinuxQueues&) = delete;
  LinuxQueues& operator=(const LinuxQueues&) = delete;
  LinuxQueues(LinuxQueues&&) = delete;
  LinuxQueues& operator=(LinuxQueues&&) = delete;

  /// Waits until all background work has run. On the main thread, and when no background work is
  /// left that calls syncMain(), which could then not return, or asyncBackground(). Main-thread
  /// work stays with the context.
  ~LinuxQueues() override;

  /// Work runs in iterations of the context at G_PRIORITY_DEFAULT, in order of submission, never
  /// inside this call.
  void asyncMain(std::function<void()> work) const override;

  void syncMain(const std::function<void()>& work) const override;

  /// As many threads run as there is work. A thread that is done waits for more, so that successive
  /// requests share one thread: one thread for as long as this object lives, others for half a
  /// second in this pool and then for 15 seconds as one of at most two spare ones of the process
  /// (GLib's defaults). Linux has no quality-of-service class: the threads run with the ordinary
  /// priority.
  ///
  /// When the system refuses a new thread, the work waits for the next thread that is done or that
  /// can be had: a new attempt is made every 100 ms in the main context.
  void asyncBackground(std::function<void()> work,
                       std::function<void()> mainWork = {}) const override;

 private:
  struct BackgroundWork {
    std::function<void()> work;
    std::function<void()> mainWork;
  };

  static void runOnThreadOfPool(gpointer work, gpointer queues) noexcept;
  void run(BackgroundWork& work) const;
  /// False when the thread is to go back to the pool, which has work for it or none.
  [[nodiscard]] bool takeForFreeThread(BackgroundWork& work) const;
  void startThreadsLater() const;

  struct ReleaseContext {
    void operator()(GMainContext* context) const { g_main_context_unref(context); }
  };

  const std::unique_ptr<GMainContext, ReleaseContext> mainContext_;
  const MainQueueSource mainQueue_;
  GThreadPool* const backgroundPool_;
  /// Of what follows. Tools that watch threads cannot see into GLib's locks: each hand-over from
  /// thread to thread goes through this one as well.
  mutable std::mutex mutex_;
  /// Wakes the thread that waits.
  mutable std::condition_variable submitted_;
  /// Threads that are done with their work and have nothing left to do but to hand its main work
  /// over, or wait.
  mutable std::size_t freeThreads_ = 0;
  /// Work for them: never more than there are of them.
  mutable std::vector<BackgroundWork> forFreeThreads_;
  mutable bool isThreadWaiting_ = false;
  /// Work given to the pool that no thread has begun with.
  mutable std::size_t awaitingThread_ = 0;
  bool isEnding_ = false;
};

}  // namespace korvan
