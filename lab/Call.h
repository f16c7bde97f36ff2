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

}  // namespace korvan::lab
