#include "lab/site/AnswerJudge.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <utility>

#include "lab/site/AnswerKeys.h"
#include "lab/site/AttestationJudge.h"
#include "lab/site/AttestationReader.h"
#include "lab/site/SignatureJudge.h"
#include "lab/site/StatementJudge.h"
#include "lab/site/ValueWords.h"
#include "lab/support/AuthenticatorFlags.h"
#include "lab/support/Base64Url.h"

namespace korvan::lab {
namespace {

namespace key = provider_message_key;
using Kind = WantedKey::Kind;
using Subject = Finding::Subject;

void append(FindingList& findings, const FindingList& more) {
  findings.insert(findings.end(), more.begin(), more.end());
}

const Data* pointerTo(const std::optional<Data>& value) { return value ? &*value : nullptr; }

std::string shownIdentifier(const Data& identifier) {
  return identifier.empty() ? "no bytes" : base64Url(identifier.bytes());
}

/// The passkey that must have signed, as the request or the relying party names it.
std::optional<Data> wantedCredential(const AssertionTerms& terms) {
  return terms.credentialID || !terms.passkey ? terms.credentialID : terms.passkey->credentialID;
}

FindingList judgeCredential(const std::optional<Data>& got, const AssertionTerms& terms) {
  const auto wanted = wantedCredential(terms);
  if (!got) {
    return {notChecked(Subject::credential, "which passkey signed is not known")};
  }
  if (!wanted) {
    return terms.passkey
               ? FindingList{warning(Subject::credential,
                                     "the public key alone does not say which passkey, user "
                                     "and web site it belongs to",
                                     {})}
               : FindingList();
  }
  const std::string name = terms.credentialID ? "the request names" : "is registered";
  if (got == wanted) {
    return {holding(Subject::credential, "with the passkey that " + name)};
  }
  return {failing(Subject::credential, "with another passkey than the one that " + name,
                  {.wanted = shownIdentifier(*wanted),
                   .got = shownIdentifier(*got),
                   .hint = terms.credentialID ? "credentialID is ignored" : ""})};
}

FindingList judgeAllowed(const std::optional<Data>& got, const std::vector<Data>& allowed) {
  if (!got || allowed.empty()) {
    return {};
  }
  return {std::ranges::find(allowed, *got) != allowed.end()
              ? holding(Subject::allowed, "with an allowed passkey")
              : failing(Subject::allowed, "with a passkey that is not allowed",
                        {.wanted = "one of " + std::to_string(allowed.size()) +
                                   ", or a refusal with credentialNotFound",
                         .got = shownIdentifier(*got),
                         .hint = "allowedCredentials is ignored"})};
}

FindingList judgeOwner(const std::optional<Data>& got, const AssertionTerms& terms) {
  const auto& passkey = terms.passkey;
  if (!passkey || !passkey->relyingParty || !got || got != passkey->credentialID) {
    return {};
  }
  const std::string& owner = *passkey->relyingParty;
  return {owner == terms.request.relyingParty
              ? holding(Subject::relyingParty, "the passkey belongs to " + owner)
              : failing(Subject::relyingParty,
                        "signed for a relying party that the passkey does not belong to",
                        {.wanted = "a refusal with credentialNotFound",
                         .got = "the passkey of " + quotedText(owner) + ", for " +
                                quotedText(terms.request.relyingParty),
                         .hint = "relyingPartyIdentifier is ignored: any web site can have this "
                                 "passkey sign, which is a security hole"})};
}

FindingList judgeUserHandle(const std::optional<Data>& got, const AssertionTerms& terms) {
  if (!got || !terms.passkey || !terms.passkey->userHandle) {
    return {};
  }
  const Data& wanted = *terms.passkey->userHandle;
  return {*got == wanted ? holding(Subject::userHandle, "of the registered user")
                         : failing(Subject::userHandle, "of another user than the registered one",
                                   {.wanted = shownIdentifier(wanted),
                                    .got = shownIdentifier(*got),
                                    .hint = mistakeBetween(wanted, *got)})};
}

FindingList judgeAuthenticatorData(const std::optional<Data>& bytes, const AssertionTerms& terms) {
  if (!bytes) {
    return {notChecked(Subject::authenticatorData, "there is no authenticator data to check"),
            notChecked(Subject::verification, "whether the user was verified is not known"),
            notChecked(Subject::counter, "the sign count is not known")};
  }
  const auto statement = readAuthenticatorData(*bytes);
  if (!statement) {
    return {shortStatement(*bytes, terms.request.relyingParty)};
  }
  FindingList findings = judgeStatement(*statement, terms.request);
  findings.push_back(judgeRestOfAssertion(*statement));
  if (terms.passkey) {
    findings.push_back(judgeCounter(statement->signCount, terms.passkey->signCount));
    if (terms.passkey->backupEligible) {
      findings.push_back(judgeEligibility(statement->flags, *terms.passkey->backupEligible));
    }
  }
  return findings;
}

Finding judgeSignatureIn(const ProviderMessage& answer, const AssertionTerms& terms) {
  if (!terms.passkey) {
    return notChecked(Subject::signature,
                      "the signature was not checked: the public key is not known");
  }
  const auto signature = dataForKey(answer, key::signature);
  const auto statement = dataForKey(answer, key::authenticatorData);
  return signature && statement ? judgeSignature(*signature, *statement, terms)
                                : notChecked(Subject::signature,
                                             "the signature was not checked: it or what it signs "
                                             "is missing");
}

/// The flag BE; not known where BS contradicts it.
std::optional<bool> backupEligibility(std::uint8_t flags) {
  const bool eligible = (flags & BackupEligible) != 0;
  return eligible || (flags & BackedUp) == 0 ? std::optional(eligible) : std::nullopt;
}

/// What is wrong with attested credential data that cannot be read, by the place of the ID in it.
std::string hintForAttested(const Data& attested, const std::optional<Data>& credentialID) {
  constexpr std::ptrdiff_t Start = 37;
  constexpr std::ptrdiff_t PlaceOfID = 18;
  const auto bytes = attested.bytes();
  const auto found = credentialID && !credentialID->empty()
                         ? std::ranges::search(bytes, credentialID->bytes()).begin()
                         : bytes.end();
  const std::ptrdiff_t place = found - bytes.begin();
  if (found == bytes.end()) {
    return "the attested credential data is cut short";
  }
  if (place != PlaceOfID) {
    return "the credential ID begins at byte " + std::to_string(Start + place) +
           " of the authenticator data, not at " + std::to_string(Start + PlaceOfID) +
           ", after the AAGUID (16 bytes) and its own size (2)";
  }
  const int size = bytes[PlaceOfID - 2] << 8 | bytes[PlaceOfID - 1];
  return "the credential ID has " + std::to_string(credentialID->size()) +
         " bytes, but the two bytes before it, big-endian, say " + std::to_string(size);
}

/// The authenticator data inside an attestation object, and the passkey in it.
RegistrationReview judgeAttestedStatement(const Data& bytes, const ProviderMessage& answer,
                                          const RegistrationTerms& terms) {
  const auto statement = readAuthenticatorData(bytes);
  if (!statement) {
    return {.findings = {shortStatement(bytes, terms.request.relyingParty)},
            .passkey = std::nullopt};
  }
  RegistrationReview review{.findings = judgeStatement(*statement, terms.request),
                            .passkey = std::nullopt};
  const bool attests = (statement->flags & AttestedCredentialDataIncluded) != 0;
  const auto attested = readAttestedCredentialData(statement->rest);
  if (!attests || !attested) {
    review.findings.push_back(failing(
        Subject::attestation, "no credential is attested",
        {.wanted = "AT (0x40), and the attested credential behind the counter",
         .got = wordsForFlags(statement->flags) + ", then " + wordsFor(statement->rest),
         .hint = attests ? hintForAttested(statement->rest, dataForKey(answer, key::credentialID))
                         : "the flag AT is missing"}));
    return review;
  }
  append(review.findings,
         judgeAttestedCredential(*attested, dataForKey(answer, key::credentialID), terms));
  review.findings.push_back(
      judgeExtensions(statement->flags, attested->rest, Subject::attestation));
  if (const auto key = publicKeyIn(attested->coseKey)) {
    review.passkey = RegisteredPasskey{.key = *key,
                                       .credentialID = attested->credentialID,
                                       .userHandle = terms.userHandle,
                                       .signCount = statement->signCount,
                                       .backupEligible = backupEligibility(statement->flags),
                                       .relyingParty = terms.request.relyingParty};
  }
  return review;
}

template <typename Value>
void set(ProviderMessage& answer, std::string_view key, const std::optional<Value>& value) {
  if (value) {
    answer.insert_or_assign(Text(key), PropertyListValue(*value));
  }
}

}  // namespace

FindingList judgeAssertion(const ProviderMessage& answer, const AssertionTerms& terms) {
  const auto credentialID = wantedCredential(terms);
  const std::optional<Data> userHandle = terms.passkey ? terms.passkey->userHandle : std::nullopt;
  const std::array<WantedKey, 6> wanted{
      {{.name = key::userHandle, .value = pointerTo(userHandle)},
       {.name = key::relyingPartyIdentifier, .kind = Kind::string},
       {.name = key::signature},
       {.name = key::clientDataHash, .value = &terms.request.clientDataHash},
       {.name = key::authenticatorData},
       {.name = key::credentialID, .value = pointerTo(credentialID)}}};
  FindingList findings = judgeKinds(answer, wanted);
  const auto got = dataForKey(answer, key::credentialID);
  append(findings, judgeEchoes(answer, terms.request));
  append(findings, judgeCredential(got, terms));
  append(findings, judgeAllowed(got, terms.allowedCredentials));
  append(findings, judgeOwner(got, terms));
  append(findings, judgeUserHandle(dataForKey(answer, key::userHandle), terms));
  append(findings, judgeAuthenticatorData(dataForKey(answer, key::authenticatorData), terms));
  findings.push_back(judgeSignatureIn(answer, terms));
  return findings;
}

RegistrationReview judgeRegistration(const ProviderMessage& answer,
                                     const RegistrationTerms& terms) {
  const std::array<WantedKey, 4> wanted{
      {{.name = key::relyingPartyIdentifier, .kind = Kind::string},
       {.name = key::clientDataHash, .value = &terms.request.clientDataHash},
       {.name = key::credentialID},
       {.name = key::attestationObject}}};
  RegistrationReview review{.findings = judgeKinds(answer, wanted), .passkey = std::nullopt};
  append(review.findings, judgeEchoes(answer, terms.request));
  const auto object = dataForKey(answer, key::attestationObject);
  if (!object) {
    review.findings.push_back(
        notChecked(Subject::attestation, "there is no attestation object to check"));
    return review;
  }
  append(review.findings, judgeAttestationObject(*object, terms.request.relyingParty));
  if (const auto statement = readAttestationObject(*object)) {
    RegistrationReview inner = judgeAttestedStatement(*statement, answer, terms);
    append(review.findings, inner.findings);
    review.passkey = std::move(inner.passkey);
  }
  return review;
}

ProviderMessage answerWith(const PasskeyAssertionCredential& credential, ProviderMessage wire) {
  set(wire, key::userHandle, credential.userHandle);
  set(wire, key::relyingPartyIdentifier, credential.relyingParty);
  set(wire, key::signature, credential.signature);
  set(wire, key::clientDataHash, credential.clientDataHash);
  set(wire, key::authenticatorData, credential.authenticatorData);
  set(wire, key::credentialID, credential.credentialID);
  return wire;
}

ProviderMessage answerWith(const PasskeyRegistrationCredential& credential, ProviderMessage wire) {
  set(wire, key::relyingPartyIdentifier, credential.relyingParty);
  set(wire, key::clientDataHash, credential.clientDataHash);
  set(wire, key::credentialID, credential.credentialID);
  set(wire, key::attestationObject, credential.attestationObject);
  return wire;
}

}  // namespace korvan::lab
