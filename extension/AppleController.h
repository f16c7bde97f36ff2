#pragma once

#import <AuthenticationServices/AuthenticationServices.h>

#include "provider/CredentialProviderViewController.h"

namespace korvan {

/// The controller behind an object of the platform, which owns it: what keeps the one alive has to
/// keep the other.
class AppleController final : public CredentialProviderViewController {
 public:
  /// Does not own `owner`.
  AppleController(ASCredentialProviderViewController* _Nonnull owner,
                  std::shared_ptr<const Services> services);

  /// A request whose answer is waited for keeps the owner alive until the completion is released.
  void performRequest(ProviderMessage request, ProviderCompletion completion) override;

 private:
  __weak ASCredentialProviderViewController* _Nullable const owner_;
};

}  // namespace korvan
