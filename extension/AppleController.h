#pragma once

#import <AuthenticationServices/AuthenticationServices.h>

#include "provider/CredentialProviderViewController.h"

namespace korvan {

/// The controller behind the platform's view controller, which owns it.
class AppleController final : public CredentialProviderViewController {
 public:
  /// Does not own `owner`.
  AppleController(ASCredentialProviderViewController* _Nonnull owner,
                  std::shared_ptr<const Services> services);

  /// A request with a completion keeps the owner alive until the completion is released.
  void performRequest(ProviderMessage request, ProviderCompletion completion) override;

 private:
  __weak ASCredentialProviderViewController* _Nullable const owner_;
};

}  // namespace korvan
