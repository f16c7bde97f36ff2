#pragma once

#include <memory>
#include <string>
#include <vector>

#import <AuthenticationServices/AuthenticationServices.h>

#include "platform/CredentialRequest.h"

namespace korvan {

// The platform's requests as records. Each property that is nil, or of another class than declared,
// is none; see Conversions.h. Usable from any thread.

/// An ASPasskeyCredentialRequest; null for nil or another class. An identity that is no
/// ASPasskeyCredentialIdentity is none. The record owns the platform's object; its excluded
/// credentials may be read on macOS 15.0 and later only, and hold one descriptor, if need be
/// without an ID, for each element.
[[nodiscard]] std::shared_ptr<const PasskeyCredentialRequest> passkeyCredentialRequestOf(
    id _Nullable request);

/// A passkey request, or for another class a request of no particular kind; null for nil.
[[nodiscard]] std::shared_ptr<const CredentialRequest> credentialRequestOf(id _Nullable request);

/// An ASPasskeyCredentialRequestParameters; null for nil or another class.
[[nodiscard]] std::shared_ptr<const PasskeyCredentialRequestParameters> requestParametersOf(
    id _Nullable parameters);

/// The identifiers of an NSArray of ASCredentialServiceIdentifier. What is none is left out.
[[nodiscard]] std::vector<std::string> serviceIdentifiersOf(id _Nullable identifiers);

}  // namespace korvan
