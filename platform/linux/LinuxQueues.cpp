#include "platform/linux/LinuxQueues.h"

#include <memory>
#include <semaphore>
#include <tuple>
#include <utility>

namespace korvan {
namespace {

constexpr guint RetryMilliseconds = 100;
constexpr gulong RetryMicroseconds = RetryMilliseconds * 1000UL;
constexpr gint Unlimited = -1;

using Work = std::function<void()>;

/// Starts a thread for each work that waits for one; false when not every one could be started.
bool startThreads(GThreadPool* pool) {
  return g_thread_pool_set_max_threads(pool, Unlimited, nullptr) != FALSE;
}

// What GLib calls is noexcept, because no exception may pass through its frames.
gboolean retryStartingThreads(gpointer pool) noexcept {
  return startThreads(static_cast<GThreadPool*>(pool)) ? G_SOURCE_REMOVE : G_SOURCE_CONTINUE;
}

}  // namespace

LinuxQueues::LinuxQueues(GMainContext* mainContext)
    : mainContext_(
          g_main_context_ref(mainContext != nullptr ? mainContext : g_main_context_default())),
      mainQueue_(mainContext_.get()),
      backgroundPool_(g_thread_pool_new(runBackgroundWork, this, Unlimited, FALSE, nullptr)) {}

LinuxQueues::~LinuxQueues() {
  while (GSource* retry =
             g_main_context_find_source_by_user_data(mainContext_.get(), backgroundPool_)) {
    g_source_destroy(retry);
  }
  while (g_thread_pool_unprocessed(backgroundPool_) > 0 && !startThreads(backgroundPool_)) {
    g_usleep(RetryMicroseconds);
  }
  g_thread_pool_free(backgroundPool_, FALSE, TRUE);
  g_assert(unfinished_.load(std::memory_order_acquire) == 0);
}

void LinuxQueues::asyncMain(Work work) const { mainQueue_.submit(std::move(work)); }

void LinuxQueues::syncMain(const Work& work) const {
  std::binary_semaphore done{0};
  mainQueue_.submit([&] {
    work();
    done.release();
  });
  done.acquire();
}

void LinuxQueues::asyncBackground(Work work) const {
  auto* const queued = new Work(std::move(work));
  unfinished_.fetch_add(1, std::memory_order_release);
  if (!g_thread_pool_push(backgroundPool_, queued, nullptr)) {
    startThreadsLater();
  }
}

void LinuxQueues::runBackgroundWork(gpointer work, gpointer queues) noexcept {
  auto& unfinished = static_cast<const LinuxQueues*>(queues)->unfinished_;
  std::ignore = unfinished.load(std::memory_order_acquire);
  std::unique_ptr<Work> owned(static_cast<Work*>(work));
  (*owned)();
  owned.reset();
  unfinished.fetch_sub(1, std::memory_order_release);
}

void LinuxQueues::startThreadsLater() const {
  GSource* const retry = g_timeout_source_new(RetryMilliseconds);
  g_source_set_callback(retry, retryStartingThreads, backgroundPool_, nullptr);
  g_source_attach(retry, mainContext_.get());
  g_source_unref(retry);
}

}  // namespace korvan
