#include "platform/linux/LinuxQueues.h"

#include <latch>
#include <semaphore>
#include <utility>

namespace korvan {
namespace {

constexpr guint RetryMilliseconds = 100;
constexpr gint Unlimited = -1;

/// Work on its way to another thread.
class SubmittedWork {
 public:
  explicit SubmittedWork(std::function<void()> work) : work_(std::move(work)) {
    isSubmitted_.count_down();
  }

  void run() const {
    isSubmitted_.wait();
    work_();
  }

 private:
  const std::function<void()> work_;
  // GLib's own locks order the two threads, but tools that watch threads see only this.
  std::latch isSubmitted_{1};
};

// What GLib calls is noexcept, because no exception may pass through its frames.
gboolean runOnMain(gpointer submitted) noexcept {
  static_cast<const SubmittedWork*>(submitted)->run();
  return G_SOURCE_REMOVE;
}

void release(gpointer submitted) noexcept { delete static_cast<const SubmittedWork*>(submitted); }

/// Starts a thread for each work that waits for one. To be called again when one was refused.
gboolean startThreads(gpointer pool) noexcept {
  return g_thread_pool_set_max_threads(static_cast<GThreadPool*>(pool), Unlimited, nullptr)
             ? G_SOURCE_REMOVE
             : G_SOURCE_CONTINUE;
}

void attach(GMainContext* context, GSource* source, GSourceFunc callback, gpointer data,
            GDestroyNotify releaseData) {
  g_source_set_callback(source, callback, data, releaseData);
  g_source_attach(source, context);
  g_source_unref(source);
}

}  // namespace

LinuxQueues::LinuxQueues(GMainContext* mainContext)
    : mainContext_(g_main_context_ref(mainContext)) {
  GError* error = nullptr;
  backgroundPool_ = g_thread_pool_new(runInBackground, this, Unlimited, FALSE, &error);
  g_assert_no_error(error);
}

LinuxQueues::~LinuxQueues() {
  while (GSource* retry = g_main_context_find_source_by_user_data(mainContext_, backgroundPool_)) {
    g_source_destroy(retry);
  }
  // The pool itself would wait for a thread without asking for one.
  while (g_thread_pool_unprocessed(backgroundPool_) > 0 &&
         startThreads(backgroundPool_) == G_SOURCE_CONTINUE) {
    g_usleep(RetryMilliseconds * 1000UL);
  }
  g_thread_pool_free(backgroundPool_, FALSE, TRUE);
  g_assert(unfinished_.load() == 0);
  g_main_context_unref(mainContext_);
}

void LinuxQueues::asyncMain(std::function<void()> work) const {
  GSource* const source = g_idle_source_new();
  g_source_set_priority(source, G_PRIORITY_DEFAULT);
  attach(mainContext_, source, runOnMain, new SubmittedWork(std::move(work)), release);
}

void LinuxQueues::syncMain(const std::function<void()>& work) const {
  std::binary_semaphore done{0};
  asyncMain([&] {
    work();
    done.release();
  });
  done.acquire();
}

void LinuxQueues::asyncBackground(std::function<void()> work) const {
  unfinished_.fetch_add(1);
  // The pool keeps work that gets no thread.
  if (g_thread_pool_push(backgroundPool_, new SubmittedWork(std::move(work)), nullptr) == FALSE) {
    attach(mainContext_, g_timeout_source_new(RetryMilliseconds), startThreads, backgroundPool_,
           nullptr);
  }
}

void LinuxQueues::runInBackground(gpointer submitted, gpointer queues) noexcept {
  static_cast<const SubmittedWork*>(submitted)->run();
  release(submitted);
  static_cast<const LinuxQueues*>(queues)->unfinished_.fetch_sub(1);
}

}  // namespace korvan
