#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/Data.h"
#include "platform/PropertyList.h"

namespace korvan {

// The platform's request types as plain records. A field that the platform left nil is nullopt,
// which is not the same as empty. Lists hold whatever the platform's lists hold. The terms are
// WebAuthn's: https://www.w3.org/TR/webauthn-3/

/// ASPasskeyCredentialIdentity.
struct PasskeyCredentialIdentity {
  /// The provider's own identifier of the record that holds the passkey.
  std::optional<std::string> recordIdentifier;
  std::optional<std::string> relyingPartyIdentifier;
  std::optional<std::string> userName;
  std::optional<Data> userHandle;
  std::optional<Data> credentialID;
};

/// Whatever names a credential by its ID; ASAuthorizationPlatformPublicKeyCredentialDescriptor.
struct PasskeyCredentialDescriptor {
  std::optional<PropertyListValue> credentialID;
};

class PasskeyCredentialRequest;

/// Any request of the platform (id<ASCredentialRequest>).
class CredentialRequest {
 public:
  CredentialRequest() = default;
  CredentialRequest(const CredentialRequest&) = delete;
  CredentialRequest& operator=(const CredentialRequest&) = delete;
  virtual ~CredentialRequest() = default;

  /// This request if it is a passkey request, otherwise null. A virtual function instead of a cast,
  /// because the extension is built without run-time type information.
  [[nodiscard]] virtual const PasskeyCredentialRequest* passkeyRequest() const noexcept {
    return nullptr;
  }
};

/// ASPasskeyCredentialRequest: an assertion or a registration.
class PasskeyCredentialRequest : public CredentialRequest {
 public:
  using Descriptors = std::vector<PasskeyCredentialDescriptor>;

  [[nodiscard]] const PasskeyCredentialRequest* passkeyRequest() const noexcept override {
    return this;
  }

  std::optional<PasskeyCredentialIdentity> credentialIdentity;
  /// SHA-256 of the client data, 32 bytes.
  std::optional<Data> clientDataHash;
  std::optional<std::string> userVerificationPreference;
  /// COSE algorithm identifiers in the relying party's order of preference, ES256 being -7.
  std::optional<PropertyListValue::Array> supportedAlgorithms;
  /// Reads the request's excluded credentials. A function instead of a value, because the
  /// platform's property exists only from macOS 15.0 on and must not be touched before. Never
  /// empty.
  std::function<std::optional<Descriptors>()> excludedCredentials = [] { return std::nullopt; };
};

/// ASPasskeyCredentialRequestParameters.
struct PasskeyCredentialRequestParameters {
  std::optional<std::string> relyingPartyIdentifier;
  /// SHA-256 of the client data, 32 bytes.
  std::optional<Data> clientDataHash;
  std::optional<std::string> userVerificationPreference;
  /// The credential IDs that the relying party accepts.
  std::optional<PropertyListValue::Array> allowedCredentials;
};

}  // namespace korvan
