#pragma once

#include <chrono>
#include <optional>

#include "lab/system/Outcome.h"
#include "platform/ExtensionContext.h"

namespace korvan::lab {

/// The platform's side of one request: keeps how and when it ended. A request ends once; ending it
/// again is an error of the program, which is told on standard error and stops. Main thread.
class LabExtensionContext final : public ExtensionContext {
 public:
  using Time = std::chrono::steady_clock::time_point;
  struct End {
    Outcome outcome;
    Time time;
  };

  void completeExtensionConfigurationRequest() override;
  void completeAssertionRequest(const PasskeyAssertionCredential& credential) override;
  void completeRegistrationRequest(const PasskeyRegistrationCredential& credential) override;
  void cancelRequest(const Error& error) override;

  /// None as long as the request is open.
  [[nodiscard]] const std::optional<End>& end() const noexcept { return end_; }

 private:
  void endWith(Outcome outcome);

  std::optional<End> end_;
};

}  // namespace korvan::lab
