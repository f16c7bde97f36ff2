#include "platform/linux/LinuxQueues.h"

#include <memory>
#include <semaphore>
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
      backgroundPool_(g_thread_pool_new(runOnThreadOfPool, this, Unlimited, FALSE, nullptr)) {}

LinuxQueues::~LinuxQueues() {
  {
    const std::scoped_lock lock(mutex_);
    isEnding_ = true;
  }
  submitted_.notify_one();
  while (GSource* retry =
             g_main_context_find_source_by_user_data(mainContext_.get(), backgroundPool_)) {
    g_source_destroy(retry);
  }
  while (g_thread_pool_unprocessed(backgroundPool_) > 0 && !startThreads(backgroundPool_)) {
    g_usleep(RetryMicroseconds);
  }
  g_thread_pool_free(backgroundPool_, FALSE, TRUE);
  const std::scoped_lock lock(mutex_);
  g_assert(freeThreads_ == 0 && awaitingThread_ == 0);
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

void LinuxQueues::asyncBackground(Work work, Work mainWork) const {
  BackgroundWork background{.work = std::move(work), .mainWork = std::move(mainWork)};
  std::unique_lock lock(mutex_);
  if (forFreeThreads_.size() < freeThreads_) {
    forFreeThreads_.push_back(std::move(background));
    const bool isAwaited = isThreadWaiting_;
    lock.unlock();
    if (isAwaited) {
      submitted_.notify_one();
    }
    return;
  }
  auto* const queued = new BackgroundWork(std::move(background));
  ++awaitingThread_;
  const bool isStarted = g_thread_pool_push(backgroundPool_, queued, nullptr) != FALSE;
  lock.unlock();
  if (!isStarted) {
    startThreadsLater();
  }
}

void LinuxQueues::runOnThreadOfPool(gpointer work, gpointer queues) noexcept {
  const auto& self = *static_cast<const LinuxQueues*>(queues);
  const std::unique_ptr<BackgroundWork> owned(static_cast<BackgroundWork*>(work));
  {
    const std::scoped_lock lock(self.mutex_);
    --self.awaitingThread_;
  }
  do {
    self.run(*owned);
  } while (self.takeForFreeThread(*owned));
}

void LinuxQueues::run(BackgroundWork& background) const {
  std::exchange(background.work, nullptr)();
  {
    const std::scoped_lock lock(mutex_);
    ++freeThreads_;
  }
  // The main thread, once woken, may go on at once and submit the next work before this thread has
  // got any further. It need not wake another thread for that.
  if (background.mainWork) {
    mainQueue_.submit(std::exchange(background.mainWork, nullptr));
  }
}

bool LinuxQueues::takeForFreeThread(BackgroundWork& work) const {
  std::unique_lock lock(mutex_);
  if (!isThreadWaiting_) {
    isThreadWaiting_ = true;
    // Work that got no thread needs this one.
    submitted_.wait(
        lock, [this] { return isEnding_ || !forFreeThreads_.empty() || awaitingThread_ > 0; });
    isThreadWaiting_ = false;
  }
  --freeThreads_;
  if (forFreeThreads_.empty()) {
    return false;
  }
  work = std::move(forFreeThreads_.back());
  forFreeThreads_.pop_back();
  return true;
}

void LinuxQueues::startThreadsLater() const {
  GSource* const retry = g_timeout_source_new(RetryMilliseconds);
  g_source_set_callback(retry, retryStartingThreads, backgroundPool_, nullptr);
  g_source_attach(retry, mainContext_.get());
  g_source_unref(retry);
}

}  // namespace korvan
