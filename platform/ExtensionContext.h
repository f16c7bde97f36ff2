#pragma once

#include <optional>
#include <string>

#include "platform/Data.h"
#include "platform/Error.h"

namespace korvan {

/// ASPasskeyAssertionCredential. A value that the host left out is nullopt.
/// https://www.w3.org/TR/webauthn-3/#iface-authenticatorassertionresponse
struct PasskeyAssertionCredential {
  std::optional<Data> userHandle;
  std::optional<std::string> relyingParty;
  std::optional<Data> signature;
  std::optional<Data> clientDataHash;
  std::optional<Data> authenticatorData;
  std::optional<Data> credentialID;
  friend bool operator==(const PasskeyAssertionCredential&,
                         const PasskeyAssertionCredential&) = default;
};

/// ASPasskeyRegistrationCredential. A value that the host left out is nullopt.
/// https://www.w3.org/TR/webauthn-3/#iface-authenticatorattestationresponse
struct PasskeyRegistrationCredential {
  std::optional<std::string> relyingParty;
  std::optional<Data> clientDataHash;
  std::optional<Data> credentialID;
  std::optional<Data> attestationObject;
  friend bool operator==(const PasskeyRegistrationCredential&,
                         const PasskeyRegistrationCredential&) = default;
};

/// The platform's side of one request. Exactly one of these calls ends it. Main thread.
class ExtensionContext {
 public:
  virtual ~ExtensionContext() = default;

  virtual void completeExtensionConfigurationRequest() = 0;

  /// Ends an assertion. The platform does not confirm that it took the credential.
  virtual void completeAssertionRequest(const PasskeyAssertionCredential& credential) = 0;

  /// Ends a registration. The platform does not confirm that it took the credential.
  virtual void completeRegistrationRequest(const PasskeyRegistrationCredential& credential) = 0;

  virtual void cancelRequest(const Error& error) = 0;
};

}  // namespace korvan
