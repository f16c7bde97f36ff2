#include "platform/apple/AppleQueues.h"

#include <memory>
#include <utility>

#include <dispatch/dispatch.h>

namespace korvan {
namespace {

using Work = std::function<void()>;

// An exception must not pass through the platform's frames: here it ends the process.
// NOLINTNEXTLINE(bugprone-exception-escape)
void run(const Work& work) noexcept {
  @autoreleasepool {
    work();
  }
}

void runOwned(void* owned) {
  const std::unique_ptr<const Work> work(static_cast<Work*>(owned));
  run(*work);
}

/// Moving a function may leave a copy behind, which would then be the last to be released, and on
/// the wrong thread.
Work taken(Work& work) {
  Work result = std::move(work);
  work = nullptr;
  return result;
}

void submitToMain(Work& work) {
  dispatch_async_f(dispatch_get_main_queue(), std::make_unique<Work>(taken(work)).release(),
                   runOwned);
}

struct BackgroundWork {
  Work work;
  Work mainWork;
};

void runInBackground(void* owned) {
  const std::unique_ptr<BackgroundWork> background(static_cast<BackgroundWork*>(owned));
  run(background->work);
  background->work = nullptr;
  if (background->mainWork) {
    submitToMain(background->mainWork);
  }
}

}  // namespace

void AppleQueues::asyncMain(Work work) const { submitToMain(work); }

void AppleQueues::syncMain(const Work& work) const {
  const Work* const waited = &work;
  dispatch_sync(dispatch_get_main_queue(), ^{
    run(*waited);
  });
}

void AppleQueues::asyncBackground(Work work, Work mainWork) const {
  auto owned = std::make_unique<BackgroundWork>(taken(work), taken(mainWork));
  dispatch_async_f(dispatch_get_global_queue(QOS_CLASS_USER_INITIATED, 0), owned.release(),
                   runInBackground);
}

}  // namespace korvan
