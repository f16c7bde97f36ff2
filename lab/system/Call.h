#pragma once

#include <functional>

#include "provider/CredentialProviderViewController.h"

namespace korvan::lab {

/// One call that the operating system makes: an entry point with its arguments.
struct Call {
  /// Calls the entry point, and throws what it throws.
  std::function<void(CredentialProviderViewController& controller)> invoke;
  /// True of the reports, which nobody completes or cancels.
  bool isReport = false;
};

/// The call with which the system opens the extension's configuration.
[[nodiscard]] inline Call configurationCall() {
  return {.invoke = [](CredentialProviderViewController& controller) {
    controller.prepareInterfaceForExtensionConfiguration();
  }};
}

}  // namespace korvan::lab
