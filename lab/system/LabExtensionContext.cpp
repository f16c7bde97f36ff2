#include "lab/system/LabExtensionContext.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace korvan::lab {

void LabExtensionContext::completeExtensionConfigurationRequest() {
  endWith(CompletedConfiguration());
}

void LabExtensionContext::completeAssertionRequest(const PasskeyAssertionCredential& credential) {
  endWith(CompletedAssertion{credential});
}

void LabExtensionContext::completeRegistrationRequest(
    const PasskeyRegistrationCredential& credential) {
  endWith(CompletedRegistration{credential});
}

void LabExtensionContext::cancelRequest(const Error& error) { endWith(Canceled{.error = error}); }

void LabExtensionContext::endWith(Outcome outcome) {
  if (end_) {
    std::fputs("korvan-lab: the request was completed or canceled a second time.\n", stderr);
    std::abort();
  }
  end_ = End{.outcome = std::move(outcome), .time = std::chrono::steady_clock::now()};
}

}  // namespace korvan::lab
