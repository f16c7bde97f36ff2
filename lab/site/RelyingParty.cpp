#include "lab/site/RelyingParty.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>
#include <openssl/evp.h>

#include "lab/support/AuthenticatorFlags.h"
#include "lab/support/Base64Url.h"
#include "lab/support/RandomData.h"

namespace korvan::lab {
namespace {

using Bytes = std::span<const std::uint8_t>;
using Verdict = Finding::Verdict;

constexpr std::size_t ChallengeSize = 32;
constexpr std::size_t HashSize = 32;
/// https://www.w3.org/TR/webauthn-3/#credential-id
constexpr std::size_t MaxCredentialIDSize = 1023;
/// https://www.iana.org/assignments/cose/cose.xhtml#algorithms
constexpr std::int64_t Es256 = -7;

Bytes utf8BytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

Data sha256(Bytes bytes) {
  std::vector<std::uint8_t> hash(HashSize);
  if (EVP_Digest(bytes.data(), bytes.size(), hash.data(), nullptr, EVP_sha256(), nullptr) != 1) {
    throw std::runtime_error("The SHA-256 of the client data cannot be computed.");
  }
  return hash;
}

std::string clientData(std::string_view identifier, RelyingParty::Ceremony ceremony) {
  // In the order in which browsers write it.
  return nlohmann::ordered_json{
      {"type",
       ceremony == RelyingParty::Ceremony::registration ? "webauthn.create" : "webauthn.get"},
      {"challenge", base64Url(randomData(ChallengeSize).bytes())},
      {"origin", std::string("https://").append(identifier)},
      {"crossOrigin", false}}
      .dump();
}

Finding finding(bool holds, std::string words) {
  return {.verdict = holds ? Verdict::holds : Verdict::fails, .words = std::move(words)};
}

Finding notChecked(std::string words) {
  return {.verdict = Verdict::notChecked, .words = std::move(words)};
}

std::optional<AuthenticatorStatement> readStatement(const std::optional<Data>& bytes) {
  return bytes ? readAuthenticatorData(*bytes) : std::nullopt;
}

Finding checkSignCount(std::uint32_t count, std::uint32_t known) {
  // Zero from both means that the authenticator does not count.
  const bool holds = count > known || (count == 0 && known == 0);
  return finding(holds, "sign count " + std::to_string(count) + (holds ? ", " : ", which is not ") +
                            "above the last one, " + std::to_string(known));
}

Finding checkSignature(const PasskeyAssertionCredential& credential, const Data& clientDataHash,
                       const PublicKey& key) {
  const Bytes authenticatorData = credential.authenticatorData->bytes();
  std::vector<std::uint8_t> message(authenticatorData.begin(), authenticatorData.end());
  message.insert(message.end(), clientDataHash.bytes().begin(), clientDataHash.bytes().end());
  const bool verified =
      credential.signature && key.verifies(message, credential.signature->bytes());
  return finding(verified, verified ? "signed by the registered passkey (ES256)"
                                    : "not signed by the registered passkey");
}

/// Any value counts where the relying party knows none.
bool isKnown(const std::optional<Data>& value, const std::optional<Data>& known) {
  return !known || value == known;
}

/// Backed up is only what can be: https://www.w3.org/TR/webauthn-3/#sctn-credential-backup
bool backupFlagsAgree(std::uint8_t flags) {
  return (flags & BackedUp) == 0 || (flags & BackupEligible) != 0;
}

std::optional<PublicKey> keyOf(const AttestedCredential& credential) {
  const auto point = readCoseKey(credential.coseKey);
  try {
    return point ? std::optional(PublicKey::fromPoint(point->x.bytes(), point->y.bytes()))
                 : std::nullopt;
  } catch (const std::invalid_argument&) {
    return std::nullopt;
  }
}

/// Of the credential in the attestation object: `credential` is what the platform was handed.
std::vector<Finding> checkCredential(const AttestedCredential& attested, bool hasKey,
                                     const PasskeyRegistrationCredential& credential,
                                     const CreationOptions& options) {
  const Data& identifier = attested.credentialID;
  const bool excluded = std::ranges::find(options.excludedCredentials, identifier) !=
                        options.excludedCredentials.end();
  return {finding(std::ranges::all_of(attested.aaguid.bytes(), [](auto byte) { return byte == 0; }),
                  "names no model of authenticator (AAGUID zero), as \"none\" asks"),
          finding(!identifier.empty() && identifier.size() <= MaxCredentialIDSize,
                  "a credential ID of " + std::to_string(identifier.size()) + " bytes"),
          finding(credential.credentialID == identifier, "the same credential ID outside"),
          finding(!excluded, "not one of the excluded credentials"),
          finding(hasKey, "a public key on P-256 for ES256"),
          finding(std::ranges::find(options.algorithms, Es256) != options.algorithms.end(),
                  "ES256 is among the algorithms asked for")};
}

void append(std::vector<Finding>& findings, const std::vector<Finding>& more) {
  findings.insert(findings.end(), more.begin(), more.end());
}

}  // namespace

RelyingParty::RelyingParty(std::string identifier, UserVerification userVerification,
                           Ceremony ceremony)
    : identifier_(std::move(identifier)),
      userVerification_(userVerification),
      clientDataJSON_(clientData(identifier_, ceremony)),
      clientDataHash_(sha256(utf8BytesOf(clientDataJSON_))) {}

std::string RelyingParty::userVerificationPreference() const {
  return userVerification_ == UserVerification::required ? "required" : "preferred";
}

std::vector<Finding> RelyingParty::verify(const PasskeyAssertionCredential& credential,
                                          const std::optional<RegisteredPasskey>& passkey) const {
  const auto statement = readStatement(credential.authenticatorData);
  if (!statement) {
    return {finding(false, "the authenticator data is missing or cut short")};
  }
  std::vector<Finding> findings = {
      finding(credential.relyingParty == identifier_, "made for " + identifier_),
      finding(credential.clientDataHash == clientDataHash_, "answers this challenge")};
  append(findings, checkStatement(*statement, true));
  if (!passkey) {
    findings.push_back(notChecked("the signature was not checked: the public key is not known"));
    return findings;
  }
  findings.push_back(finding(credential.credentialID &&
                                 isKnown(credential.credentialID, passkey->credentialID) &&
                                 isKnown(credential.userHandle, passkey->userHandle),
                             "of the registered passkey and user"));
  findings.push_back(checkSignCount(statement->signCount, passkey->signCount));
  findings.push_back(checkSignature(credential, clientDataHash_, passkey->key));
  return findings;
}

RegistrationReview RelyingParty::verify(const PasskeyRegistrationCredential& credential,
                                        const CreationOptions& options) const {
  const auto object = credential.attestationObject
                          ? readAttestationObject(*credential.attestationObject)
                          : std::nullopt;
  const auto statement = readStatement(object);
  if (!statement) {
    return {.findings = {finding(false, "the attestation object is missing or not of \"none\"")},
            .passkey = std::nullopt};
  }
  RegistrationReview review{
      .findings = {finding(credential.relyingParty == identifier_, "made for " + identifier_),
                   finding(credential.clientDataHash == clientDataHash_, "answers this challenge"),
                   finding(true, "an attestation object of the format \"none\"")},
      .passkey = std::nullopt};
  append(review.findings, checkStatement(*statement, !options.conditional));
  const auto attested = (statement->flags & AttestedCredentialDataIncluded) != 0
                            ? readAttestedCredentialData(statement->rest)
                            : std::nullopt;
  if (!attested) {
    review.findings.push_back(finding(false, "no credential is attested"));
    return review;
  }
  const auto key = keyOf(*attested);
  append(review.findings, checkCredential(*attested, key.has_value(), credential, options));
  if (key) {
    review.passkey = RegisteredPasskey{.key = *key,
                                       .credentialID = attested->credentialID,
                                       .userHandle = options.userHandle,
                                       .signCount = statement->signCount};
  }
  return review;
}

std::vector<Finding> RelyingParty::checkStatement(const AuthenticatorStatement& statement,
                                                  bool needsUser) const {
  const bool present = (statement.flags & UserPresent) != 0;
  const bool verified = (statement.flags & UserVerified) != 0;
  return {finding(statement.relyingPartyHash == sha256(utf8BytesOf(identifier_)),
                  "the authenticator names " + identifier_ + " too"),
          finding(present || !needsUser, present ? "a user was present" : "no user was present"),
          finding(verified || userVerification_ == UserVerification::preferred,
                  verified ? "the user was verified" : "the user was not verified"),
          finding(backupFlagsAgree(statement.flags), "its backup flags agree")};
}

bool isVerified(const std::vector<Finding>& findings) {
  return std::ranges::all_of(findings,
                             [](const Finding& each) { return each.verdict == Verdict::holds; });
}

}  // namespace korvan::lab
