#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "channel/ProviderMessage.h"
#include "lab/site/AnswerJudge.h"
#include "lab/site/Finding.h"
#include "lab/site/RegisteredPasskey.h"
#include "platform/Data.h"

namespace korvan::lab {

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

/// A web site during one sign-in or registration: makes the challenge, and checks the credential.
class RelyingParty {
 public:
  enum class UserVerification : std::uint8_t { discouraged, preferred, required };
  enum class Ceremony : std::uint8_t { signIn, registration };

  /// Makes a new challenge for the domain `identifier`, such as "example.com".
  RelyingParty(std::string identifier, UserVerification userVerification,
               Ceremony ceremony = Ceremony::signIn);

  [[nodiscard]] const std::string& identifier() const noexcept { return identifier_; }

  /// Such as "preferred", as in a request.
  [[nodiscard]] std::string userVerificationPreference() const;

  /// The client data that a browser would make.
  /// https://www.w3.org/TR/webauthn-3/#dictionary-client-data
  [[nodiscard]] const std::string& clientDataJSON() const noexcept { return clientDataJSON_; }

  /// SHA-256 of clientDataJSON(), which the passkey signs.
  [[nodiscard]] const Data& clientDataHash() const noexcept { return clientDataHash_; }

  /// Judges the answer to a sign-in by `terms`, whose `request` is this site's own.
  [[nodiscard]] FindingList verify(const ProviderMessage& answer, AssertionTerms terms) const;

  /// Judges the answer to a registration.
  [[nodiscard]] RegistrationReview verify(const ProviderMessage& answer,
                                          const CreationOptions& options) const;

 private:
  [[nodiscard]] RequestTerms requestTerms(bool presenceRequired) const;

  std::string identifier_;
  UserVerification userVerification_;
  std::string clientDataJSON_;
  Data clientDataHash_;
};

}  // namespace korvan::lab
