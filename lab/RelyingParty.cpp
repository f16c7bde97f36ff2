#include "lab/RelyingParty.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>
#include <openssl/evp.h>

#include "lab/host/AuthenticatorData.h"
#include "lab/host/Base64Url.h"
#include "lab/host/Passkey.h"

namespace korvan::lab {
namespace {

using Bytes = std::span<const std::uint8_t>;
using Verdict = Finding::Verdict;

constexpr std::size_t ChallengeSize = 32;
constexpr std::size_t HashSize = 32;
constexpr std::size_t AuthenticatorDataSize = HashSize + 1 + 4;

Bytes bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

Data sha256(Bytes bytes) {
  MutableData hash = MutableData::zeroed(HashSize);
  if (EVP_Digest(bytes.data(), bytes.size(), hash.bytes().data(), nullptr, EVP_sha256(), nullptr) !=
      1) {
    throw std::runtime_error("The SHA-256 of the client data cannot be computed.");
  }
  return std::move(hash).freeze();
}

std::string clientData(std::string_view identifier) {
  // In the order in which browsers write it.
  return nlohmann::ordered_json{
      {"type", "webauthn.get"},
      {"challenge", host::base64Url(host::randomData(ChallengeSize).bytes())},
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

/// The fixed part of authenticator data. https://www.w3.org/TR/webauthn-3/#sctn-authenticator-data
struct Statement {
  Bytes relyingPartyHash;
  std::uint8_t flags = 0;
  std::uint32_t signCount = 0;
};

std::optional<Statement> readStatement(const std::optional<Data>& authenticatorData) {
  if (!authenticatorData || authenticatorData->size() < AuthenticatorDataSize) {
    return std::nullopt;
  }
  const Bytes bytes = authenticatorData->bytes();
  std::uint32_t signCount = 0;
  for (const std::uint8_t byte : bytes.subspan(HashSize + 1, 4)) {
    signCount = signCount << 8U | byte;
  }
  return Statement{
      .relyingPartyHash = bytes.first(HashSize), .flags = bytes[HashSize], .signCount = signCount};
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

}  // namespace

RelyingParty::RelyingParty(std::string identifier, UserVerification userVerification)
    : identifier_(std::move(identifier)),
      userVerification_(userVerification),
      clientDataJSON_(clientData(identifier_)),
      clientDataHash_(sha256(bytesOf(clientDataJSON_))) {}

std::string RelyingParty::userVerificationPreference() const {
  return userVerification_ == UserVerification::required ? "required" : "preferred";
}

std::vector<Finding> RelyingParty::verify(const PasskeyAssertionCredential& credential,
                                          const std::optional<RegisteredPasskey>& passkey) const {
  const auto statement = readStatement(credential.authenticatorData);
  if (!statement) {
    return {finding(false, "the authenticator data is missing or cut short")};
  }
  const bool userVerified = (statement->flags & host::UserVerified) != 0;
  std::vector<Finding> findings = {
      finding(credential.relyingParty == identifier_, "made for " + identifier_),
      finding(std::ranges::equal(statement->relyingPartyHash, sha256(bytesOf(identifier_)).bytes()),
              "the authenticator names " + identifier_ + " too"),
      finding(credential.clientDataHash == clientDataHash_, "answers this challenge"),
      finding((statement->flags & host::UserPresent) != 0, "a user was present"),
      finding(userVerified || userVerification_ == UserVerification::preferred,
              userVerified ? "the user was verified" : "the user was not verified")};
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

bool isVerified(const std::vector<Finding>& findings) {
  return std::ranges::all_of(findings,
                             [](const Finding& each) { return each.verdict == Verdict::holds; });
}

}  // namespace korvan::lab
