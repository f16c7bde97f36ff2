#pragma once

#include <memory>
#include <string>
#include <vector>

#import <AuthenticationServices/AuthenticationServices.h>

#include "platform/CredentialRequest.h"

namespace korvan {

// The platform's requests as records. A property that is nil, or of another class than declared, is
// nullopt; lists are passed on unchanged. See Conversions.h. Thread-safe.

/// An ASPasskeyCredentialRequest; null for nil or another class. An identity that is not an
/// ASPasskeyCredentialIdentity is nullopt. The record owns the platform's object. Its excluded
/// credentials may be read on macOS 15.0 and later only; they have one descriptor per element, of
/// whatever class, even for an element without an ID.
[[nodiscard]] std::shared_ptr<const PasskeyCredentialRequest> passkeyCredentialRequestOf(
    id _Nullable request);

/// A passkey request, or a plain CredentialRequest for another class; null for nil.
[[nodiscard]] std::shared_ptr<const CredentialRequest> credentialRequestOf(id _Nullable request);

/// An ASPasskeyCredentialRequestParameters; null for nil or another class.
[[nodiscard]] std::shared_ptr<const PasskeyCredentialRequestParameters> requestParametersOf(
    id _Nullable parameters);

/// The identifiers in an NSArray of ASCredentialServiceIdentifier. Other elements are left out.
[[nodiscard]] std::vector<std::string> serviceIdentifiersOf(id _Nullable identifiers);

}  // namespace korvan
