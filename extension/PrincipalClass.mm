#import "extension/PrincipalClass.h"

#include <exception>
#include <memory>
#include <mutex>
#include <stdexcept>

#include "extension/AppleController.h"
#include "extension/ApplePlatform.h"
#include "extension/CredentialRequests.h"
#include "platform/apple/Conversions.h"

@implementation CredentialProviderViewController {
  // The type is void because the runtime keeps the names of instance variables' types in the
  // binary.
  std::shared_ptr<void> _controller;
  std::once_flag _controllerMade;
}

namespace {

/// The object's controller, made on first use. Under a once flag, because reports arrive on any
/// thread.
korvan::AppleController& controllerOf(CredentialProviderViewController* self) {
  std::call_once(self->_controllerMade, [self] {
    self->_controller = std::make_shared<korvan::AppleController>(
        self, korvan::makeApplePlatform(self, @selector(dismissUnavailableUI:)));
  });
  return *static_cast<korvan::AppleController*>(self->_controller.get());
}

/// Calls the controller. What a framework raises passes to the caller, as from any extension. A C++
/// exception, which the caller does not expect, ends the process.
template <typename Message>
void send(CredentialProviderViewController* self, const Message& message) {
  try {
    message(controllerOf(self));
  } catch (const std::exception&) {
    std::terminate();
  }
}

/// Sends a report, and raises if it was refused, outside any C++ exception handler.
template <typename Report>
void sendReport(CredentialProviderViewController* self, const Report& report) {
  NSString* reason = nil;
  send(self, [&](korvan::AppleController& controller) {
    try {
      report(controller);
    } catch (const std::invalid_argument& refusal) {
      reason = korvan::toNSStringOrEmpty(refusal.what());
    }
  });
  if (reason != nil) {
    @throw [NSException exceptionWithName:NSInvalidArgumentException reason:reason userInfo:nil];
  }
}

}  // namespace

- (void)dismissUnavailableUI:(id)__unused sender {
  send(self, [](korvan::AppleController& controller) { controller.dismissUnavailableUI(); });
}

- (void)prepareInterfaceForExtensionConfiguration {
  send(self, [](korvan::AppleController& controller) {
    controller.prepareInterfaceForExtensionConfiguration();
  });
}

- (void)prepareCredentialListForServiceIdentifiers:
            (NSArray<ASCredentialServiceIdentifier*>*)serviceIdentifiers
                                 requestParameters:
                                     (ASPasskeyCredentialRequestParameters*)requestParameters {
  send(self, [=](korvan::AppleController& controller) {
    controller.prepareCredentialListForServiceIdentifiers(
        korvan::serviceIdentifiersOf(serviceIdentifiers),
        korvan::requestParametersOf(requestParameters));
  });
}

- (void)provideCredentialWithoutUserInteractionForRequest:
    (id<ASCredentialRequest>)credentialRequest {
  send(self, [=](korvan::AppleController& controller) {
    controller.provideCredentialWithoutUserInteractionForRequest(
        korvan::credentialRequestOf(credentialRequest));
  });
}

- (void)prepareInterfaceToProvideCredentialForRequest:(id<ASCredentialRequest>)credentialRequest {
  send(self, [=](korvan::AppleController& controller) {
    controller.prepareInterfaceToProvideCredentialForRequest(
        korvan::credentialRequestOf(credentialRequest));
  });
}

- (void)prepareInterfaceForPasskeyRegistration:(id<ASCredentialRequest>)registrationRequest {
  send(self, [=](korvan::AppleController& controller) {
    controller.prepareInterfaceForPasskeyRegistration(
        korvan::credentialRequestOf(registrationRequest));
  });
}

- (void)performPasskeyRegistrationWithoutUserInteractionIfPossible:
    (ASPasskeyCredentialRequest*)registrationRequest {
  send(self, [=](korvan::AppleController& controller) {
    controller.performPasskeyRegistrationWithoutUserInteractionIfPossible(
        korvan::passkeyCredentialRequestOf(registrationRequest));
  });
}

- (void)reportPublicKeyCredentialUpdateForRelyingParty:(NSString*)relyingParty
                                            userHandle:(NSData*)userHandle
                                               newName:(NSString*)newName {
  sendReport(self, [=](korvan::AppleController& controller) {
    controller.reportPublicKeyCredentialUpdateForRelyingParty(
        korvan::stringOf(relyingParty), korvan::dataOf(userHandle), korvan::stringOf(newName));
  });
}

- (void)reportUnknownPublicKeyCredentialForRelyingParty:(NSString*)relyingParty
                                           credentialID:(NSData*)credentialID {
  sendReport(self, [=](korvan::AppleController& controller) {
    controller.reportUnknownPublicKeyCredentialForRelyingParty(korvan::stringOf(relyingParty),
                                                               korvan::dataOf(credentialID));
  });
}

- (void)reportAllAcceptedPublicKeyCredentialsForRelyingParty:(NSString*)relyingParty
                                                  userHandle:(NSData*)userHandle
                                       acceptedCredentialIDs:
                                           (NSArray<NSData*>*)acceptedCredentialIDs {
  sendReport(self, [=](korvan::AppleController& controller) {
    controller.reportAllAcceptedPublicKeyCredentialsForRelyingParty(
        korvan::stringOf(relyingParty), korvan::dataOf(userHandle),
        korvan::arrayOf(acceptedCredentialIDs));
  });
}

@end
