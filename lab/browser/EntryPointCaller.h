#pragma once

#include <string>
#include <vector>

#include "lab/browser/BrowserRequest.h"
#include "lab/browser/KnownIdentities.h"
#include "lab/system/CallRunner.h"

namespace korvan::lab {

/// Calls the entry points that a page's request leads to, as the system would. Main thread.
class EntryPointCaller {
 public:
  /// Refers to both, which outlive it.
  EntryPointCaller(CallRunner& runner, const KnownIdentities& identities)
      : runner_(runner), identities_(identities) {}

  /// Calls one entry point, and a second when a silent sign-in needs the user. Returns the result
  /// of the last. Throws InvalidLine that says why the request leads to none.
  [[nodiscard]] CallResult serve(const BrowserRequest& request);

  /// Those that were called, in order, as the platform spells them.
  [[nodiscard]] const std::vector<std::string>& called() const noexcept { return called_; }

 private:
  [[nodiscard]] CallResult signIn(const BrowserRequest& request);
  [[nodiscard]] CallResult call(const nlohmann::json& line);

  CallRunner& runner_;
  const KnownIdentities& identities_;
  std::vector<std::string> called_;
};

}  // namespace korvan::lab
