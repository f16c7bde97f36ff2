#include "platform/apple/AppleQueues.h"

#include <memory>
#include <utility>

#include <dispatch/dispatch.h>

namespace korvan {
namespace {

using Work = std::function<void()>;

// Nothing is caught: when an exception leaves work, libdispatch ends the process and reports why.
void run(const Work& work) {
  @autoreleasepool {
    work();
  }
}

void runOwned(void* owned) {
  const std::unique_ptr<const Work> work(static_cast<Work*>(owned));
  run(*work);
}

void submit(dispatch_queue_t queue, Work& work) {
  auto owned = std::make_unique<Work>(std::move(work));
  // Moving a function may leave a copy behind, which could then be the last one to be released, and
  // on the wrong thread.
  work = nullptr;
  dispatch_async_f(queue, owned.release(), runOwned);
}

}  // namespace

void AppleQueues::asyncMain(Work work) const { submit(dispatch_get_main_queue(), work); }

void AppleQueues::syncMain(const Work& work) const {
  const Work* const waited = &work;
  dispatch_sync(dispatch_get_main_queue(), ^{
    run(*waited);
  });
}

void AppleQueues::asyncBackground(Work work) const {
  submit(dispatch_get_global_queue(QOS_CLASS_USER_INITIATED, 0), work);
}

}  // namespace korvan
