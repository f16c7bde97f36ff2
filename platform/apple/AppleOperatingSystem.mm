#include "platform/apple/AppleOperatingSystem.h"

#import <AuthenticationServices/AuthenticationServices.h>

#include "platform/apple/Conversions.h"

namespace korvan {

bool AppleOperatingSystem::isAtLeast(OperatingSystemVersion version) const {
  return [NSProcessInfo.processInfo
      isOperatingSystemAtLeastVersion:{version.major, version.minor, version.patch}];
}

std::string AppleOperatingSystem::preferredUserVerification() const {
  return stringOf(ASAuthorizationPublicKeyCredentialUserVerificationPreferencePreferred)
      .value_or(std::string());
}

}  // namespace korvan
