#pragma once

#import <AuthenticationServices/AuthenticationServices.h>

#include "platform/ExtensionContext.h"

namespace korvan {

/// The platform's context of one controller.
///
/// What is none in a credential becomes nil: what the platform makes of it stands. So does a text
/// that is not UTF-8. An error without user information has none, one without a description an
/// empty dictionary. Once the controller has gone, calls do nothing.
class AppleExtensionContext final : public ExtensionContext {
 public:
  /// Does not own the controller.
  explicit AppleExtensionContext(ASCredentialProviderViewController* _Nonnull controller);

  void completeExtensionConfigurationRequest() override;
  void completeAssertionRequest(const PasskeyAssertionCredential& credential) override;
  void completeRegistrationRequest(const PasskeyRegistrationCredential& credential) override;
  void cancelRequest(const Error& error) override;

 private:
  __weak ASCredentialProviderViewController* _Nullable const controller_;
};

}  // namespace korvan
