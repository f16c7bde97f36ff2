#pragma once

#import <AuthenticationServices/AuthenticationServices.h>

#include "platform/ExtensionContext.h"

namespace korvan {

/// The extension context of one controller.
///
/// A nullopt in a credential becomes nil, and so does a text that is not UTF-8; what the platform
/// then does is up to it. An error without user info gets nil, one without a description an empty
/// dictionary. Once the controller is gone, calls do nothing.
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
