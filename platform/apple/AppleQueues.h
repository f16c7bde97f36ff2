#pragma once

#include <functional>

#include "platform/Queues.h"

namespace korvan {

/// libdispatch's main queue and its global queue of quality of service user-initiated, which adds
/// threads for work that blocks.
///
/// Work is released right after it ran. An exception that leaves work, a framework's or C++'s, ends
/// the process as an uncaught one. Has no state, so that destroying it waits for nothing.
class AppleQueues final : public Queues {
 public:
  void asyncMain(std::function<void()> work) const override;
  void syncMain(const std::function<void()>& work) const override;
  void asyncBackground(std::function<void()> work) const override;
};

}  // namespace korvan
