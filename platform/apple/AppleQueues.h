#pragma once

#include <functional>

#include "platform/Queues.h"

namespace korvan {

/// libdispatch's main queue and its global queue of quality of service user-initiated, which adds
/// threads for work that blocks.
///
/// Work must not throw. It is released where it ran, right after it. Empty work ends the process.
class AppleQueues final : public Queues {
 public:
  void asyncMain(std::function<void()> work) const override;
  void syncMain(const std::function<void()>& work) const override;
  void asyncBackground(std::function<void()> work) const override;
};

}  // namespace korvan
