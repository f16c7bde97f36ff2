#pragma once

#include <functional>

#include "platform/Queues.h"

namespace korvan {

/// libdispatch's main queue and its global queue with user-initiated quality of service, which adds
/// threads for work that blocks.
///
/// Work is released right after it ran. An uncaught exception in work, a framework's or C++'s, ends
/// the process. Has no state, so destroying it waits for nothing.
class AppleQueues final : public Queues {
 public:
  void asyncMain(std::function<void()> work) const override;
  void syncMain(const std::function<void()>& work) const override;
  void asyncBackground(std::function<void()> work) const override;
};

}  // namespace korvan
