#pragma once

#include <chrono>
#include <optional>

#include "lab/system/Outcome.h"
#include "platform/ExtensionContext.h"

namespace korvan::lab {

/// The platform's side of one request: records how and when it ended. Ending a request a second
/// time prints an error and aborts. Main thread.
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

  /// Nullopt while the request is open.
  [[nodiscard]] const std::optional<End>& end() const noexcept { return end_; }

 private:
  void endWith(Outcome outcome);

  std::optional<End> end_;
};

}  // namespace korvan::lab
