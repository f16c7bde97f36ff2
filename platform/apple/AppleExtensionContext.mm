#include "platform/apple/AppleExtensionContext.h"

#include "platform/apple/Conversions.h"

namespace korvan {
namespace {

NSErrorDomain toNSErrorDomain(ErrorDomain domain) {
  switch (domain) {
    case ErrorDomain::posix:
      return NSPOSIXErrorDomain;
    case ErrorDomain::osStatus:
      return NSOSStatusErrorDomain;
    case ErrorDomain::extension:
      return ASExtensionErrorDomain;
  }
}

NSDictionary* toNSDictionary(const ErrorUserInfo& userInfo) {
  NSString* const description = toNSString(userInfo.localizedDescription);
  return description != nil ? @{NSLocalizedDescriptionKey : description}
                            : [NSDictionary dictionary];
}

}  // namespace

AppleExtensionContext::AppleExtensionContext(ASCredentialProviderViewController* controller)
    : controller_(controller) {}

void AppleExtensionContext::completeExtensionConfigurationRequest() {
  [controller_.extensionContext completeExtensionConfigurationRequest];
}

void AppleExtensionContext::completeAssertionRequest(const PasskeyAssertionCredential& credential) {
  auto* const selected = [[ASPasskeyAssertionCredential alloc]
      initWithUserHandle:toNSData(credential.userHandle)
            relyingParty:toNSString(credential.relyingParty)
               signature:toNSData(credential.signature)
          clientDataHash:toNSData(credential.clientDataHash)
       authenticatorData:toNSData(credential.authenticatorData)
            credentialID:toNSData(credential.credentialID)];
  [controller_.extensionContext completeAssertionRequestWithSelectedPasskeyCredential:selected
                                                                    completionHandler:nil];
}

void AppleExtensionContext::completeRegistrationRequest(
    const PasskeyRegistrationCredential& credential) {
  auto* const selected = [[ASPasskeyRegistrationCredential alloc]
      initWithRelyingParty:toNSString(credential.relyingParty)
            clientDataHash:toNSData(credential.clientDataHash)
              credentialID:toNSData(credential.credentialID)
         attestationObject:toNSData(credential.attestationObject)];
  [controller_.extensionContext completeRegistrationRequestWithSelectedPasskeyCredential:selected
                                                                       completionHandler:nil];
}

void AppleExtensionContext::cancelRequest(const Error& error) {
  [controller_.extensionContext
      cancelRequestWithError:[NSError
                                 errorWithDomain:toNSErrorDomain(error.domain)
                                            code:error.code
                                        userInfo:error.userInfo ? toNSDictionary(*error.userInfo)
                                                                : nil]];
}

}  // namespace korvan
