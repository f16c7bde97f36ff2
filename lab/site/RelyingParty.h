#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lab/site/AttestationReader.h"
#include "lab/site/PublicKey.h"
#include "platform/Data.h"
#include "platform/ExtensionContext.h"

namespace korvan::lab {

/// One check of a relying party, in words, and its verdict.
struct Finding {
  enum class Verdict : std::uint8_t { holds, fails, notChecked };
  Verdict verdict = Verdict::fails;
  std::string words;
};

/// What a relying party remembers of a passkey. Without an ID or a handle it accepts any.
struct RegisteredPasskey {
  PublicKey key;
  std::optional<Data> credentialID;
  std::optional<Data> userHandle;
  std::uint32_t signCount = 0;
};

/// What a relying party asks for when it wants a new passkey.
/// https://www.w3.org/TR/webauthn-3/#dictionary-makecredentialoptions
struct CreationOptions {
  std::string userName;
  Data userHandle;
  /// COSE algorithm identifiers. Default: only ES256.
  std::vector<std::int64_t> algorithms = {-7};
  /// The IDs of credentials of which the host must have none.
  // NOLINTNEXTLINE(readability-redundant-member-init): g++ warns where it is left out otherwise
  std::vector<Data> excludedCredentials = {};
  /// Make the passkey without the user, or not at all.
  bool conditional = false;
};

/// What a relying party found about a new passkey, and the passkey if it could read it.
struct RegistrationReview {
  std::vector<Finding> findings;
  std::optional<RegisteredPasskey> passkey;
};

/// A web site during one sign-in or registration: makes the challenge, and checks the credential.
class RelyingParty {
 public:
  enum class UserVerification : std::uint8_t { preferred, required };
  enum class Ceremony : std::uint8_t { signIn, registration };

  /// Makes a new challenge for the domain `identifier`, such as "example.com".
  RelyingParty(std::string identifier, UserVerification userVerification,
               Ceremony ceremony = Ceremony::signIn);

  [[nodiscard]] const std::string& identifier() const noexcept { return identifier_; }

  /// "preferred" or "required", as in a request.
  [[nodiscard]] std::string userVerificationPreference() const;

  /// The client data that a browser would make.
  /// https://www.w3.org/TR/webauthn-3/#dictionary-client-data
  [[nodiscard]] const std::string& clientDataJSON() const noexcept { return clientDataJSON_; }

  /// SHA-256 of clientDataJSON(), which the passkey signs.
  [[nodiscard]] const Data& clientDataHash() const noexcept { return clientDataHash_; }

  /// Makes every check of a sign-in, in order; those that need `passkey` are `notChecked` without
  /// it. https://www.w3.org/TR/webauthn-3/#sctn-verifying-assertion
  [[nodiscard]] std::vector<Finding> verify(const PasskeyAssertionCredential& credential,
                                            const std::optional<RegisteredPasskey>& passkey) const;

  /// Makes every check of a registration with attestation "none", in order.
  /// https://www.w3.org/TR/webauthn-3/#sctn-registering-a-new-credential
  [[nodiscard]] RegistrationReview verify(const PasskeyRegistrationCredential& credential,
                                          const CreationOptions& options) const;

 private:
  [[nodiscard]] std::vector<Finding> checkStatement(const AuthenticatorStatement& statement,
                                                    bool needsUser) const;

  std::string identifier_;
  UserVerification userVerification_;
  std::string clientDataJSON_;
  Data clientDataHash_;
};

/// True when nothing failed and nothing was left unchecked.
[[nodiscard]] bool isVerified(const std::vector<Finding>& findings);

}  // namespace korvan::lab
