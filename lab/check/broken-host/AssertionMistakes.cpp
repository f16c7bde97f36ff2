#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include "channel/ProviderMessage.h"
#include "lab/check/broken-host/Alterations.h"
#include "lab/check/broken-host/Mistake.h"
#include "lab/host/AuthenticatorData.h"
#include "lab/support/Base64Url.h"

namespace korvan::lab::broken {
namespace {

/// The size of authenticator data without a credential.
constexpr std::size_t FixedSize = 37;

bool isSilentAssertion(const Message& request) {
  return isAssertion(request) && !isInteractive(request);
}

bool namesNoPasskey(const Message& request) {
  return isAssertion(request) && dataForKey(request, "credentialID")->empty();
}

bool asksForList(const Message& request) {
  return isInteractive(request) && namesNoPasskey(request);
}

Data joined(const Data& first, const Data& second) {
  Bytes all(first.bytes().begin(), first.bytes().end());
  all.insert(all.end(), second.bytes().begin(), second.bytes().end());
  return {std::move(all)};
}

Data soundSignature(const Signing& signing) {
  return signing.key.sign(joined(signing.statement, signing.clientDataHash).bytes());
}

auto refusingWith(std::string_view code, std::string_view instead) {
  return [code, instead](const Message& request, Message& answer) {
    if (isAssertion(request) && stringForKey(answer, "errorCode") == code) {
      answer = refusal(instead);
    }
  };
}

Data rawSignature(const Signing& signing) {
  constexpr int ScalarSize = 32;
  const Data der = soundSignature(signing);
  const auto* first = der.bytes().data();
  const std::unique_ptr<ECDSA_SIG, decltype(&ECDSA_SIG_free)> value(
      d2i_ECDSA_SIG(nullptr, &first, static_cast<long>(der.size())), ECDSA_SIG_free);
  Bytes raw(std::size_t{2} * ScalarSize);
  BN_bn2binpad(ECDSA_SIG_get0_r(value.get()), raw.data(), ScalarSize);
  BN_bn2binpad(ECDSA_SIG_get0_s(value.get()), raw.data() + ScalarSize, ScalarSize);
  return {std::move(raw)};
}

Data signatureOfDigest(const Signing& signing) {
  Bytes digest(EVP_MAX_MD_SIZE);
  unsigned size = 0;
  const Data message = joined(signing.statement, signing.clientDataHash);
  EVP_Digest(message.bytes().data(), message.size(), digest.data(), &size, EVP_sha256(), nullptr);
  digest.resize(size);
  return signing.key.sign(digest);
}

using PrivateKey = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

PrivateKey privateKeyOf(const Signing& signing) {
  const Data secret = signing.key.pkcs8();
  const auto* next = secret.bytes().data();
  return {d2i_AutoPrivateKey(nullptr, &next, static_cast<long>(secret.size())), EVP_PKEY_free};
}

Data signatureWithSha384(const Signing& signing) {
  const PrivateKey key = privateKeyOf(signing);
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                        EVP_MD_CTX_free);
  const Data message = joined(signing.statement, signing.clientDataHash);
  Bytes signature(EVP_MAX_MD_SIZE * 2);
  std::size_t size = signature.size();
  EVP_DigestSignInit(context.get(), nullptr, EVP_sha384(), nullptr, key.get());
  EVP_DigestSign(context.get(), signature.data(), &size, message.bytes().data(), message.size());
  signature.resize(size);
  return {std::move(signature)};
}

using Number = std::unique_ptr<BIGNUM, decltype(&BN_free)>;

Number newNumber() { return {BN_new(), BN_free}; }

/// With the number 1 as the nonce, whose point is the curve's generator.
Data signatureWithConstantNonce(const Signing& signing) {
  const Data message = joined(signing.statement, signing.clientDataHash);
  std::array<std::uint8_t, EVP_MAX_MD_SIZE> digest{};
  unsigned size = 0;
  EVP_Digest(message.bytes().data(), message.size(), digest.data(), &size, EVP_sha256(), nullptr);
  const Number hash{BN_bin2bn(digest.data(), static_cast<int>(size), nullptr), BN_free};
  BIGNUM* secret = nullptr;
  EVP_PKEY_get_bn_param(privateKeyOf(signing).get(), OSSL_PKEY_PARAM_PRIV_KEY, &secret);
  const Number key{secret, BN_free};

  const std::unique_ptr<BN_CTX, decltype(&BN_CTX_free)> context(BN_CTX_new(), BN_CTX_free);
  const std::unique_ptr<EC_GROUP, decltype(&EC_GROUP_free)> curve(
      EC_GROUP_new_by_curve_name(NID_X9_62_prime256v1), EC_GROUP_free);
  const BIGNUM* const order = EC_GROUP_get0_order(curve.get());
  Number first = newNumber();
  Number second = newNumber();
  EC_POINT_get_affine_coordinates(curve.get(), EC_GROUP_get0_generator(curve.get()), first.get(),
                                  nullptr, context.get());
  BN_mod_mul(second.get(), first.get(), key.get(), order, context.get());
  BN_mod_add(second.get(), second.get(), hash.get(), order, context.get());

  const std::unique_ptr<ECDSA_SIG, decltype(&ECDSA_SIG_free)> value(ECDSA_SIG_new(),
                                                                    ECDSA_SIG_free);
  ECDSA_SIG_set0(value.get(), first.release(), second.release());
  Bytes der(static_cast<std::size_t>(i2d_ECDSA_SIG(value.get(), nullptr)));
  auto* next = der.data();
  i2d_ECDSA_SIG(value.get(), &next);
  return {std::move(der)};
}

/// Those of the passkeys that the host has.
std::vector<Data>& knownIdentifiers() {
  static std::vector<Data> identifiers;
  return identifiers;
}

void rememberIdentifiers(const Message& /*request*/, std::vector<host::Passkey>& passkeys) {
  knownIdentifiers().clear();
  std::ranges::transform(passkeys, std::back_inserter(knownIdentifiers()),
                         &host::Passkey::credentialID);
}

std::vector<Data>& identifiersOfSubdomain() {
  static std::vector<Data> identifiers;
  return identifiers;
}

void takeStrangerForOwner(Message& request) {
  if (stringForKey(request, "relyingPartyIdentifier") == "stranger.check-host.invalid") {
    request["relyingPartyIdentifier"] = "check-host.invalid";
  }
}

std::optional<host::SigningKey>& otherKey() {
  static std::optional<host::SigningKey> key;
  return key;
}

std::vector<Mistake> wrongAssertions() {
  return {
      {.name = "asks-in-a-silent-assertion",
       .fails = {"assertion.silent"},
       .hint = "the request does not allow interaction",
       .serve = waitingForUser(isSilentAssertion)},
      {.name = "refuses-its-own-passkeys",
       .fails = {"assertion.answer"},
       .hint = "a passkey of the host's own is refused",
       .answer = refusing(isAssertion, "credentialNotFound")},
      {.name = "leaves-out-the-user-handle",
       .fails = {"assertion.answer"},
       .hint = "userHandle is missing",
       .answer = inAnswers(isAssertion, [](Message& answer) { answer.erase(Text("userHandle")); })},
      {.name = "spells-the-user-handle-differently",
       .fails = {"assertion.answer"},
       .hint = "there is \"user_handle\": keys are spelled exactly",
       .answer = inAnswers(isAssertion,
                           [](Message& answer) {
                             answer["user_handle"] = answer.at("userHandle");
                             answer.erase(Text("userHandle"));
                           })},
      {.name = "sends-the-signature-as-integers",
       .fails = {"assertion.answer"},
       .hint = "bytes are one data value, not an array of integers",
       .answer = inAnswers(
           isAssertion,
           [](Message& answer) { answer["signature"] = PropertyListValue::Array{48, 69}; })},
      {.name = "answers-another-challenge",
       .fails = {"assertion.answer"},
       .hint = "answer with the request's clientDataHash",
       .answer = inAnswers(isAssertion,
                           [](Message& answer) { answer["clientDataHash"] = Data(Bytes(32, 1)); })},
      {.name = "answers-with-the-text-of-the-user-handle",
       .fails = {"assertion.userHandle"},
       .hint = "written as base64url text",
       .answer = inAnswers(isAssertion,
                           [](Message& answer) {
                             const std::string text =
                                 base64Url(dataForKey(answer, "userHandle")->bytes());
                             answer["userHandle"] = Data(Bytes(text.begin(), text.end()));
                           })},
      {.name = "answers-with-the-user-name-as-handle",
       .fails = {"assertion.userHandle"},
       .hint = "of another user than the registered one: that is userName",
       .answer =
           [](const Message& request, Message& answer) {
             static std::map<std::string, std::string> names;
             const auto credentialID = dataForKey(answer, "credentialID");
             if (isRegistration(request) && credentialID) {
               names[base64Url(credentialID->bytes())] = *stringForKey(request, "userName");
             } else if (isAssertion(request) && credentialID) {
               const std::string name = names[base64Url(credentialID->bytes())];
               answer["userHandle"] = Data(Bytes(name.begin(), name.end()));
             }
           }},
  };
}

std::vector<Mistake> wrongChoices() {
  return {
      {.name = "ignores-the-credential-id",
       .fails = {"assertion.credential", "assertion.unknown", "assertion.interactive"},
       .hint = "credentialID is ignored",
       .request =
           inRequests(isAssertion, [](Message& request) { request["credentialID"] = Data(); })},
      {.name = "ignores-the-record-identifier",
       .fails = {"assertion.record"},
       .hint = "recordIdentifier is ignored",
       .request =
           inRequests(isAssertion, [](Message& request) { request["recordIdentifier"] = ""; })},
      {.name = "ignores-the-allowed-credentials",
       .fails = {"assertion.allowed"},
       .hint = "allowedCredentials is ignored",
       .request = inRequests(
           isAssertion,
           [](Message& request) { request["allowedCredentials"] = PropertyListValue::Array{}; })},
      {.name = "ignores-allowed-credentials-beside-an-id",
       .fails = {"assertion.allowed"},
       .hint = "allowedCredentials is ignored beside a credentialID",
       .request =
           [](auto& request) {
             if (isAssertion(request) && !namesNoPasskey(request)) {
               request["allowedCredentials"] = PropertyListValue::Array{};
             }
           }},
      {.name = "reads-twenty-allowed-credentials",
       .fails = {"assertion.allowed"},
       .hint = "the last of 302 allowedCredentials, two of them alike, is not found",
       .request = inRequests(
           isAssertion, [](Message& request) { keepTwentyOf(request, "allowedCredentials"); })},
      {.name = "requires-a-credential-id",
       .fails = {"assertion.allowed"},
       .hint = "an empty credentialID matches any passkey",
       .answer = refusing(namesNoPasskey, "credentialNotFound")},
      {.name = "ignores-the-relying-party",
       .fails = {"assertion.relyingParty"},
       .hint = "signed for a relying party that the passkey does not belong to",
       .request = inRequests(isAssertion, takeStrangerForOwner)},
      {.name = "ignores-the-relying-party-beside-allowed-credentials",
       .fails = {"assertion.relyingParty"},
       .hint = "relyingPartyIdentifier is ignored beside allowedCredentials",
       .request = inRequests(namesNoPasskey, takeStrangerForOwner)},
      {.name = "ignores-the-relying-party-with-the-user",
       .fails = {"assertion.relyingParty"},
       .hint = "relyingPartyIdentifier is ignored in an interactiveAssertion",
       .request = inRequests(isInteractive, takeStrangerForOwner)},
      {.name = "takes-a-subdomains-passkey",
       .fails = {"assertion.relyingParty"},
       .hint = "a passkey of a subdomain is taken for the domain's own",
       .request = inRequests(isAssertion,
                             [](Message& request) {
                               if (contains(identifiersOfSubdomain(),
                                            *dataForKey(request, "credentialID"))) {
                                 request["relyingPartyIdentifier"] = "other.check-host.invalid";
                               }
                             }),
       .keep =
           [](const auto& /*request*/, auto& passkeys) {
             for (const host::Passkey& each : passkeys) {
               if (each.relyingPartyIdentifier == "other.check-host.invalid") {
                 identifiersOfSubdomain().push_back(each.credentialID);
               }
             }
           }},
      {.name = "compares-the-start-of-credential-ids",
       .fails = {"assertion.unknown"},
       .hint = "a credentialID that a passkey's begins with is taken for the whole",
       .request = inRequests(isAssertion,
                             [](Message& request) {
                               const Data start = *dataForKey(request, "credentialID");
                               for (const Data& each : knownIdentifiers()) {
                                 if (!start.empty() && start.size() <= each.size() &&
                                     each.slice(0, start.size()) == start) {
                                   request["credentialID"] = each;
                                 }
                               }
                             }),
       .keep = rememberIdentifiers},
      {.name = "signs-for-unknown-passkeys",
       .fails = {"assertion.unknown"},
       .hint = "another passkey signed in place of one that the host does not have",
       .request = inRequests(isAssertion,
                             [](Message& request) {
                               if (!contains(knownIdentifiers(),
                                             *dataForKey(request, "credentialID"))) {
                                 request["credentialID"] = Data();
                               }
                             }),
       .keep = rememberIdentifiers},
      {.name = "calls-an-unknown-passkey-failed",
       .fails = {"assertion.record", "assertion.allowed", "assertion.relyingParty",
                 "assertion.unknown"},
       .hint = "refused with \"failed\"",
       .answer = refusingWith("credentialNotFound", "failed")},
      {.name = "refuses-interactive-assertions",
       .fails = {"assertion.interactive"},
       .hint = "a sign-in with the user is refused",
       .answer = refusing(isInteractive, "failed")},
      {.name = "leaves-out-the-user-handle-with-the-user",
       .fails = {"assertion.interactive"},
       .hint = "userHandle is missing",
       .answer =
           inAnswers(isInteractive, [](Message& answer) { answer.erase(Text("userHandle")); })},
      {.name = "lets-the-newest-sign-with-the-user",
       .fails = {"assertion.interactive"},
       .hint = "credentialID is ignored",
       .request =
           inRequests(isInteractive, [](Message& request) { request["credentialID"] = Data(); })},
      {.name = "lists-passkeys-that-are-not-allowed",
       .fails = {"assertion.list"},
       .hint = "the list offers those that are not allowed",
       .request = inRequests(
           isInteractive,
           [](Message& request) { request["allowedCredentials"] = PropertyListValue::Array{}; })},
      {.name = "has-no-list",
       .fails = {"assertion.list"},
       .hint = "an empty credentialID asks for a choice",
       .answer = refusing(asksForList, "credentialNotFound")},
  };
}

std::vector<Mistake> wrongStatements() {
  return {
      {.name = "states-the-hash-of-the-origin",
       .fails = {"assertion.authenticatorData"},
       .hint = "the hash is that of the origin https://other.check-host.invalid",
       .statement =
           [](const auto& request, auto& statement) {
             const Data other = host::authenticatorData(
                 "https://" + *stringForKey(request, "relyingPartyIdentifier"), 0, 0);
             if (isAssertion(request)) {
               std::ranges::copy(other.slice(0, FlagsPlace).bytes(), statement.begin());
             }
           }},
      {.name = "computes-one-hash-for-all",
       .fails = {"registration.attestation", "assertion.authenticatorData"},
       .hint = "the authenticator names another relying party",
       .statement =
           [](const auto& /*request*/, auto& statement) {
             static const Bytes hash(statement.begin(), statement.begin() + FlagsPlace);
             std::ranges::copy(hash, statement.begin());
           }},
      {.name = "announces-an-attested-credential",
       .fails = {"assertion.authenticatorData"},
       .hint = "AT announces attested credential data, and none follows",
       .statement = withFlags(isAssertion, 0x40)},
      {.name = "states-no-presence",
       .fails = {"assertion.authenticatorData"},
       .hint = "no user was present",
       .statement = withoutFlags(isAssertion, 0x01)},
      {.name = "backs-up-what-is-not-eligible",
       .fails = {"assertion.authenticatorData"},
       .hint = "its backup flags do not agree",
       .statement = withoutFlags(isAssertion, 0x08)},
      {.name = "changes-the-eligibility-for-backups",
       .fails = {"assertion.authenticatorData"},
       .hint = "BE is not as it was when the passkey was registered",
       .statement = withoutFlags(isAssertion, 0x18)},
      {.name = "states-the-hash-alone",
       .fails = {"assertion.authenticatorData"},
       .hint = "the flags and the counter are missing",
       .statement =
           inStatements(isAssertion, [](Bytes& statement) { statement.resize(FlagsPlace); })},
      {.name = "states-more-than-it-should",
       .fails = {"assertion.authenticatorData"},
       .hint = "the authenticator data is too long",
       .statement = inStatements(isAssertion, [](Bytes& statement) { statement.push_back(0); })},
      {.name = "does-not-verify-the-user",
       .fails = {"assertion.verification"},
       .hint = "the user was not verified",
       .request = inRequests(
           isAssertion,
           [](Message& request) { request["userVerificationPreference"] = "preferred"; }),
       .statement = withoutFlags(isAssertion, 0x04)},
      {.name = "knows-no-discouraged-verification",
       .fails = {"assertion.verification"},
       .hint = "refused where user verification is discouraged",
       .answer =
           [](const auto& request, auto& answer) {
             if (isAssertion(request) &&
                 stringForKey(request, "userVerificationPreference") == "discouraged") {
               answer = refusal("failed");
             }
           }},
      {.name = "asks-where-a-silent-assertion-requires-verification",
       .fails = {"assertion.verification"},
       .hint = "the request does not allow interaction",
       .serve = waitingForUser([](const Message& request) {
         return isSilentAssertion(request) &&
                stringForKey(request, "userVerificationPreference") == "required";
       })},
      {.name = "calls-a-missing-verification-failed",
       .fails = {"assertion.verification"},
       .hint = "refused with \"failed\"",
       .answer = refusingWith("userInteractionRequired", "failed")},
      {.name = "counts-no-further-than-five",
       .fails = {"assertion.counter"},
       .hint = "sign count 5, which is not above the last one, 5",
       .statement = inStatements(isAssertion,
                                 [](Bytes& statement) {
                                   const std::array<std::uint8_t, FixedSize - CountPlace> five = {
                                       0, 0, 0, 5};
                                   std::ranges::copy(five, statement.begin() + CountPlace);
                                 })},
      {.name = "counts-little-endian",
       .fails = {"assertion.counter"},
       .hint = "little-endian: with its bytes reversed it is ",
       .statement = inStatements(isAssertion,
                                 [](Bytes& statement) {
                                   std::reverse(statement.begin() + CountPlace,
                                                statement.begin() + FixedSize);
                                 })},
  };
}

std::vector<Mistake> wrongSignatures() {
  return {
      {.name = "signs-without-der",
       .fails = {"assertion.signature"},
       .hint = "it verifies raw r‖s of 64 bytes",
       .sign = rawSignature},
      {.name = "signs-the-client-data-hash-alone",
       .fails = {"assertion.signature"},
       .hint = "over clientDataHash alone",
       .sign =
           [](const auto& signing) { return signing.key.sign(signing.clientDataHash.bytes()); }},
      {.name = "signs-in-the-wrong-order",
       .fails = {"assertion.signature"},
       .hint = "over clientDataHash before authenticatorData",
       .sign =
           [](const auto& signing) {
             return signing.key.sign(joined(signing.clientDataHash, signing.statement).bytes());
           }},
      {.name = "hashes-twice",
       .fails = {"assertion.signature"},
       .hint = "hashed twice",
       .sign = signatureOfDigest},
      {.name = "hashes-with-sha-384",
       .fails = {"assertion.signature"},
       .hint = "hashed with SHA-384; ES256 is with SHA-256",
       .sign = signatureWithSha384},
      {.name = "signs-with-a-constant-nonce",
       .fails = {"assertion.signature"},
       .hint = "the same nonce in two signatures",
       .options = {"--only", "assertion.*"},
       .sign = signatureWithConstantNonce},
      {.name = "signs-with-a-new-key",
       .fails = {"assertion.signature"},
       .hint = "none of the usual mistakes explains it",
       .sign =
           [](const auto& signing) {
             return soundSignature({.key = host::SigningKey::generate(),
                                    .statement = signing.statement,
                                    .clientDataHash = signing.clientDataHash});
           }},
      {.name = "pads-the-integers-of-a-signature",
       .fails = {"assertion.signature"},
       .hint = "with its integers written as DER has them",
       .sign =
           [](const auto& signing) {
             const Data raw = rawSignature(signing);
             constexpr std::size_t ScalarSize = 32;
             Bytes der = {0x30, 0x48};
             for (const std::size_t start : {std::size_t{0}, ScalarSize}) {
               der.insert(der.end(), {0x02, 0x22, 0x00, 0x00});
               const auto number = raw.bytes().subspan(start, ScalarSize);
               der.insert(der.end(), number.begin(), number.end());
             }
             return Data(std::move(der));
           }},
      {.name = "signs-with-another-passkeys-key",
       .fails = {"assertion.signature"},
       .hint = "with the key of another passkey",
       .sign =
           [](const auto& signing) {
             return soundSignature({.key = otherKey().value_or(signing.key),
                                    .statement = signing.statement,
                                    .clientDataHash = signing.clientDataHash});
           },
       .keep =
           [](const auto& request, auto& passkeys) {
             if (isRegistration(request) &&
                 stringForKey(request, "relyingPartyIdentifier") == "other.check-host.invalid") {
               otherKey() = passkeys.back().key;
             }
           }},
  };
}

}  // namespace

std::vector<Mistake> assertionMistakes() {
  std::vector<Mistake> all;
  for (const auto group : {wrongAssertions, wrongChoices, wrongStatements, wrongSignatures}) {
    std::ranges::move(group(), std::back_inserter(all));
  }
  return all;
}

}  // namespace korvan::lab::broken
