#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "lab/browser/BrowserProfile.h"

namespace korvan::lab {

/// Chromium's program, if it is installed.
[[nodiscard]] std::optional<std::string> browserProgram();

/// True when windows can be opened, as far as the environment says.
[[nodiscard]] bool hasDisplay();

/// True when Chromium refuses to start unless its sandbox is off: for root.
[[nodiscard]] bool needsNoSandbox();

struct BrowserStart {
  std::string program;
  bool headless = false;
  bool noSandbox = false;
};

/// The arguments that start the browser on a profile, with the lab's extension and no other.
[[nodiscard]] std::vector<std::string> browserArguments(const BrowserProfile& profile,
                                                        const BrowserStart& start);

/// A running browser. It does not end with this object: the supervisor ends its many processes.
class BrowserProcess {
 public:
  /// Calls `ended` on the main thread, in GLib's default main context, with the status that waiting
  /// for a process gives.
  using Ended = std::function<void(int status)>;

  /// Starts it. Its output goes to the profile's log. Throws std::runtime_error when it cannot be
  /// started.
  BrowserProcess(const BrowserProfile& profile, const BrowserStart& start, Ended ended);
  BrowserProcess(const BrowserProcess&) = delete;
  BrowserProcess& operator=(const BrowserProcess&) = delete;
  ~BrowserProcess();

 private:
  Ended ended_;
  unsigned watch_ = 0;
};

}  // namespace korvan::lab
