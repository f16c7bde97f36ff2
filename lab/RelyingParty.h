#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lab/PublicKey.h"
#include "platform/Data.h"
#include "platform/ExtensionContext.h"

namespace korvan::lab {

/// One thing that a relying party looks at, in words, and what it found.
struct Finding {
  enum class Verdict : std::uint8_t { holds, fails, notChecked };
  Verdict verdict = Verdict::fails;
  std::string words;
};

/// What a relying party remembers of a passkey. Without the ID and the handle any will do.
struct RegisteredPasskey {
  PublicKey key;
  std::optional<Data> credentialID;
  std::optional<Data> userHandle;
  std::uint32_t signCount = 0;
};

/// A web site during one sign-in: it makes the challenge, and checks what comes back.
class RelyingParty {
 public:
  enum class UserVerification : std::uint8_t { preferred, required };

  /// Makes a new challenge for the domain `identifier`, such as "example.com".
  RelyingParty(std::string identifier, UserVerification userVerification);

  [[nodiscard]] const std::string& identifier() const noexcept { return identifier_; }

  /// As the request says it: "preferred" or "required".
  [[nodiscard]] std::string userVerificationPreference() const;

  /// What the browser would state about the sign-in.
  /// https://www.w3.org/TR/webauthn-3/#dictionary-client-data
  [[nodiscard]] const std::string& clientDataJSON() const noexcept { return clientDataJSON_; }

  /// SHA-256 of clientDataJSON(), which the passkey signs.
  [[nodiscard]] const Data& clientDataHash() const noexcept { return clientDataHash_; }

  /// Every check of a sign-in, in order: https://www.w3.org/TR/webauthn-3/#sctn-verifying-assertion
  /// Without `passkey` those that need to know it are not made, and said not to be.
  [[nodiscard]] std::vector<Finding> verify(const PasskeyAssertionCredential& credential,
                                            const std::optional<RegisteredPasskey>& passkey) const;

 private:
  std::string identifier_;
  UserVerification userVerification_;
  std::string clientDataJSON_;
  Data clientDataHash_;
};

/// True when nothing failed and nothing was left unchecked.
[[nodiscard]] bool isVerified(const std::vector<Finding>& findings);

}  // namespace korvan::lab
