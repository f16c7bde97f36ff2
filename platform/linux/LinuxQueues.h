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

  /// Waits until all background work has run. On the main thread, and when no background work is
  /// left that calls syncMain(), which could then not return, or asyncBackground(). Main-thread
  /// work stays with the context.
  ~LinuxQueues() override;

  /// Work runs in iterations of the context at G_PRIORITY_DEFAULT, in order of submission, never
  /// inside this call.
  void asyncMain(std::function<void()> work) const override;

  void syncMain(const std::function<void()>& work) const override;

  /// As many threads run as there is work. Linux has no quality-of-service class: they run with the
  /// ordinary priority.
  ///
  /// When the system refuses a new thread, the work waits for the next thread that is done or that
  /// can be had: a new attempt is made every 100 ms in the main context.
  void asyncBackground(std::function<void()> work) const override;

 private:
  static void runInBackground(gpointer submitted, gpointer queues) noexcept;

  GMainContext* const mainContext_;
  GThreadPool* backgroundPool_;
  /// Background work that has not yet been run and released: none when the destructor has waited,
  /// which tools that watch threads see only from this.
  mutable std::atomic<std::size_t> unfinished_ = 0;
};

}  // namespace korvan
