#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "lab/system/Call.h"
#include "lab/system/LabPlatform.h"
#include "lab/system/LabSettings.h"
#include "lab/system/LaunchCause.h"
#include "lab/system/MessageTap.h"
#include "lab/system/Outcome.h"

namespace korvan::lab {

/// Calls entry points as the operating system does. Main thread.
class CallRunner {
 public:
  /// Throws std::invalid_argument when the settings' trust anchor is not a certificate.
  explicit CallRunner(const LabSettings& settings);

  /// Says what a call waits for, after "Waiting for the host to ", when it has waited for a second
  /// and whenever that changes later. Called on the main thread.
  using WaitingNotice = std::function<void(const std::string& whatFor)>;
  void onWaiting(WaitingNotice notice) { waitingNotice_ = std::move(notice); }

  /// Tells each message as it goes over the socket. Called on the main thread.
  void onMessage(MessageTap::Listener listener) { listener_ = std::move(listener); }

  /// Makes the call on a new controller, and runs the main loop until the call has an outcome and
  /// all its background work is done.
  [[nodiscard]] CallResult run(const Call& call);

  /// Why the last call failed although it opened the host; nothing if it started no program.
  [[nodiscard]] std::vector<std::string> causesOfFailedLaunch() {
    return lab::causesOfFailedLaunch(platform_);
  }

  [[nodiscard]] const PropertyListSerialization& propertyLists() const noexcept {
    return platform_.propertyLists;
  }

 private:
  LabPlatform platform_;
  const NoticeMode noticeMode_;
  WaitingNotice waitingNotice_;
  MessageTap::Listener listener_;
};

}  // namespace korvan::lab
