#include "platform/linux/MainQueueSource.h"

#include <atomic>
#include <mutex>
#include <utility>
#include <vector>

namespace korvan {

/// Shared by the threads that submit and the one that runs.
struct MainQueueSource::Queue {
  std::mutex mutex;
  std::vector<std::function<void()>> waiting;
  /// What is being run, on the main thread alone; kept for its memory.
  std::vector<std::function<void()>> running;
  /// Nothing is submitted any more.
  bool isClosed = false;
  /// Whether there is anything to run, or to close. Changed with the mutex held, and looked at
  /// without it, as the main loop does twice each time round.
  std::atomic<bool> isReady = false;
};

/// As GLib allocates it: a source with room for more.
struct MainQueueSource::Source {
  GSource base;
  Queue* queue;
};

MainQueueSource::MainQueueSource(GMainContext* context) : queue_(new Queue) {
  static GSourceFuncs functions{.prepare = prepare,
                                .check = check,
                                .dispatch = dispatch,
                                .finalize = finalize,
                                .closure_callback = nullptr,
                                .closure_marshal = nullptr};
  source_ = g_source_new(&functions, sizeof(Source));
  reinterpret_cast<Source*>(source_)->queue = queue_;
  g_source_attach(source_, context);
}

MainQueueSource::~MainQueueSource() {
  {
    const std::scoped_lock lock(queue_->mutex);
    queue_->isClosed = true;
    queue_->isReady.store(true);
    if (queue_->waiting.empty()) {
      g_source_destroy(source_);
    }
  }
  g_source_unref(source_);
}

void MainQueueSource::submit(std::function<void()> work) const {
  bool isFirst = false;
  {
    const std::scoped_lock lock(queue_->mutex);
    isFirst = queue_->waiting.empty();
    queue_->waiting.push_back(std::move(work));
    queue_->isReady.store(true);
  }
  if (isFirst) {
    g_main_context_wakeup(g_source_get_context(source_));
  }
}

gboolean MainQueueSource::prepare(GSource* source, gint* timeout) noexcept {
  *timeout = -1;
  return check(source);
}

gboolean MainQueueSource::check(GSource* source) noexcept {
  return reinterpret_cast<Source*>(source)->queue->isReady.load() ? TRUE : FALSE;
}

gboolean MainQueueSource::dispatch(GSource* source, GSourceFunc /*callback*/,
                                   gpointer /*data*/) noexcept {
  Queue& queue = *reinterpret_cast<Source*>(source)->queue;
  bool isLast = false;
  {
    const std::scoped_lock lock(queue.mutex);
    queue.running.swap(queue.waiting);
    isLast = queue.isClosed;
    queue.isReady.store(false);
  }
  for (auto& each : queue.running) {
    // Released as soon as it has run, before the next.
    std::exchange(each, nullptr)();
  }
  queue.running.clear();
  return isLast ? G_SOURCE_REMOVE : G_SOURCE_CONTINUE;
}

void MainQueueSource::finalize(GSource* source) noexcept {
  delete reinterpret_cast<Source*>(source)->queue;
}

}  // namespace korvan
