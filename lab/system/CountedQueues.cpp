#include "lab/system/CountedQueues.h"

#include <utility>

namespace korvan::lab {

void CountedQueues::asyncMain(std::function<void()> work) const {
  queues_.asyncMain(counted(std::move(work)));
}

void CountedQueues::syncMain(const std::function<void()>& work) const { queues_.syncMain(work); }

void CountedQueues::asyncBackground(std::function<void()> work) const {
  queues_.asyncBackground(counted(std::move(work)));
}

std::function<void()> CountedQueues::counted(std::function<void()> work) const {
  pending_.fetch_add(1);
  return [this, work = std::move(work)]() mutable {
    work();
    // Released here, not with the queue's own copy, which goes only after this has been counted.
    work = nullptr;
    GMainContext* const mainContext = mainContext_;
    if (pending_.fetch_sub(1) == 1) {
      g_main_context_wakeup(mainContext);
    }
  };
}

void CountedQueues::runUntilIdle() const {
  while (pending_.load() != 0) {
    g_main_context_iteration(mainContext_, TRUE);
  }
}

}  // namespace korvan::lab
