#pragma once

#include <functional>

#include "platform/Queues.h"

namespace korvan {

/// libdispatch's main queue and its global queue of quality of service user-initiated, which adds
/// threads for work that blocks.
///
/// Work is released where it ran, right after it. libdispatch ends the process when work throws, as
/// empty work does.
class AppleQueues final : public Queues {
 public:
  void asyncMain(std::function<void()> work) const override;
  void syncMain(const std::function<void()>& work) const override;
  void asyncBackground(std::function<void()> work,
                       std::function<void()> mainWork = {}) const override;
};

}  // namespace korvan
