#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "channel/ProviderMessage.h"
#include "lab/check/broken-host/Alterations.h"
#include "lab/check/broken-host/Mistake.h"
#include "lab/support/AuthenticatorFlags.h"
#include "lab/support/Base64Url.h"

namespace korvan::lab::broken {
namespace {

// Places in a registration's authenticator data, and in the attestation object around it.
constexpr std::size_t ModelPlace = 37;
constexpr std::size_t IdentifierPlace = 55;
constexpr std::size_t KeyPlace = IdentifierPlace + 32;
constexpr std::size_t XPlace = KeyPlace + 10;
constexpr std::size_t YPlace = XPlace + 35;
constexpr std::size_t CoordinateSize = 32;
constexpr std::size_t ObjectStart = 30;

bool isSilentRegistration(const Message& request) {
  return isRegistration(request) && !booleanForKey(request, "allowsUserInteraction");
}

bool isMade(const Message& request, const Message& answer) {
  return isRegistration(request) && booleanForKey(answer, "ok");
}

void putAt(Bytes& bytes, std::size_t place, const Data& data) {
  std::ranges::copy(data.bytes(), bytes.begin() + static_cast<std::ptrdiff_t>(place));
}

/// Alters the attestation objects.
decltype(Mistake::answer) inObjects(void (*alter)(Bytes& object)) {
  return [alter](const Message& request, Message& answer) {
    if (isMade(request, answer)) {
      const Data object = *dataForKey(answer, "attestationObject");
      Bytes bytes(object.bytes().begin(), object.bytes().end());
      alter(bytes);
      answer["attestationObject"] = Data(std::move(bytes));
    }
  };
}

void shortenIdentifier(Bytes& statement) {
  constexpr std::size_t ShortSize = 8;
  statement.erase(statement.begin() + IdentifierPlace + ShortSize, statement.begin() + KeyPlace);
  statement.at(IdentifierPlace - 1) = ShortSize;
}

/// The same for all passkeys of a user.
Data identifierOfUser(const Message& request) {
  const Data handle = *dataForKey(request, "userHandle");
  Bytes bytes(KeyPlace - IdentifierPlace, 7);
  std::ranges::copy(handle.bytes().first(std::min(handle.size(), bytes.size())), bytes.begin());
  return {std::move(bytes)};
}

Data shortIdentifier(const Data& identifier) { return identifier.slice(0, 8); }

const Data& onlyIdentifier() {
  static const Data identifier = Data(Bytes(KeyPlace - IdentifierPlace, 7));
  return identifier;
}

bool isOfAlice(const Message& request) { return stringForKey(request, "userName") == "alice"; }

/// Has a new passkey take the place of those that `isOlder` picks.
decltype(Mistake::keep) replacing(bool (*isOlder)(const host::Passkey& older,
                                                  const Message& request)) {
  return [isOlder](const Message& request, std::vector<host::Passkey>& passkeys) {
    if (isRegistration(request) && !passkeys.empty()) {
      const Data newest = passkeys.back().credentialID;
      std::erase_if(passkeys, [&](const host::Passkey& each) {
        return each.credentialID != newest && isOlder(each, request);
      });
    }
  };
}

const host::SigningKey& onlyKey() {
  static const host::SigningKey key = host::SigningKey::generate();
  return key;
}

std::vector<Mistake> registrationsOfWrongKeys() {
  return {
      {.name = "leaves-out-the-client-data-hash",
       .fails = {"registration.answer"},
       .hint = "clientDataHash is missing",
       .answer = inAnswers(isRegistration,
                           [](Message& answer) { answer.erase(Text("clientDataHash")); })},
      {.name = "writes-the-client-data-hash-as-text",
       .fails = {"registration.answer"},
       .hint = "clientDataHash is a string, not data: the base64url text of the right bytes",
       .answer = inAnswers(isRegistration,
                           [](Message& answer) {
                             answer["clientDataHash"] =
                                 base64Url(dataForKey(answer, "clientDataHash")->bytes());
                           })},
      {.name = "writes-the-new-credential-id-as-text",
       .fails = {"registration.answer"},
       .hint = "credentialID is a string, not data: it looks like base64url",
       .answer = inAnswers(isRegistration,
                           [](Message& answer) {
                             answer["credentialID"] =
                                 base64Url(dataForKey(answer, "credentialID")->bytes());
                           })},
      {.name = "answers-registrations-for-the-origin",
       .fails = {"registration.answer"},
       .hint = "that is the origin",
       .answer = inAnswers(isRegistration,
                           [](Message& answer) {
                             answer["relyingPartyIdentifier"] =
                                 "https://" + *stringForKey(answer, "relyingPartyIdentifier");
                           })},
      {.name = "refuses-registrations",
       .fails = {"registration.answer"},
       .hint = "a plain registration is refused",
       .answer = refusing(isRegistration, "userInteractionRequired")},
  };
}

std::vector<Mistake> wrongAttestations() {
  return {
      {.name = "attests-with-bare-authenticator-data",
       .fails = {"registration.attestation"},
       .hint = "this is authData without its object",
       .answer = inObjects(
           [](Bytes& object) { object.erase(object.begin(), object.begin() + ObjectStart); })},
      {.name = "attests-with-keys-out-of-order",
       .fails = {"registration.attestation"},
       .hint = "keys out of order",
       .answer = inObjects([](Bytes& object) {
         // {"fmt": "none", "attStmt": {}, ...}: the first two members have nine bytes each.
         std::swap_ranges(object.begin() + 1, object.begin() + 10, object.begin() + 10);
       })},
      {.name = "attests-packed-without-a-statement",
       .fails = {"registration.attestation"},
       .hint = "the format \"packed\" has an empty statement",
       .answer = inObjects([](Bytes& object) {
         // {"fmt": "none", ...}
         constexpr std::array<std::uint8_t, 7> Packed = {0x66, 'p', 'a', 'c', 'k', 'e', 'd'};
         object.erase(object.begin() + 5, object.begin() + 10);
         object.insert(object.begin() + 5, Packed.begin(), Packed.end());
       })},
      {.name = "attests-text",
       .fails = {"registration.attestation"},
       .hint = "authData is a text string, not a byte string",
       .answer = inObjects([](Bytes& object) { object.at(ObjectStart - 2) = 0x78; })},
      {.name = "attests-without-a-model",
       .fails = {"registration.attestation"},
       .hint = "the credential ID begins at byte 39 of the authenticator data, not at 55",
       .statement = inStatements(isRegistration,
                                 [](Bytes& statement) {
                                   statement.erase(statement.begin() + ModelPlace,
                                                   statement.begin() + IdentifierPlace - 2);
                                 })},
      {.name = "writes-the-size-of-the-credential-id-little-endian",
       .fails = {"registration.attestation"},
       .hint = "but the two bytes before it, big-endian, say 8192",
       .statement = inStatements(isRegistration,
                                 [](Bytes& statement) {
                                   std::swap(statement.at(IdentifierPlace - 2),
                                             statement.at(IdentifierPlace - 1));
                                 })},
      {.name = "attests-without-the-flag",
       .fails = {"registration.attestation"},
       .hint = "the flag AT is missing",
       .statement = withoutFlags(isRegistration, 0x40)},
      {.name = "writes-x-little-endian",
       .fails = {"registration.attestation"},
       .hint = "x is little-endian",
       .statement = inStatements(isRegistration,
                                 [](Bytes& statement) {
                                   std::reverse(statement.begin() + XPlace,
                                                statement.begin() + XPlace + CoordinateSize);
                                 })},
      {.name = "attests-another-credential-id",
       .fails = {"registration.attestation"},
       .hint = "another credential ID outside",
       .statement = inStatements(isRegistration,
                                 [](Bytes& statement) { statement.at(IdentifierPlace) ^= 1U; })},
      {.name = "answers-with-another-credential-id",
       .fails = {"registration.attestation", "registration.excluded", "assertion.answer"},
       .hint = "another credential ID outside",
       .answer = inAnswers(isRegistration,
                           [](Message& answer) {
                             const Data made = *dataForKey(answer, "credentialID");
                             answer["credentialID"] =
                                 Data(Bytes(made.bytes().rbegin(), made.bytes().rend()));
                           })},
      {.name = "makes-short-credential-ids",
       .fails = {"registration.attestation"},
       .hint = "a credential ID of 8 bytes",
       .answer = inAnswers(isRegistration,
                           [](Message& answer) {
                             answer["credentialID"] =
                                 shortIdentifier(*dataForKey(answer, "credentialID"));
                           }),
       .statement = inStatements(isRegistration, shortenIdentifier),
       .keep =
           [](const auto& request, auto& passkeys) {
             if (isRegistration(request)) {
               passkeys.back().credentialID = shortIdentifier(passkeys.back().credentialID);
             }
           }},
      {.name = "calls-its-key-eddsa",
       .fails = {"registration.attestation", "registration.algorithm"},
       .hint = "the key is not for ES256 on P-256",
       .statement = inStatements(isRegistration,
                                 [](Bytes& statement) { statement.at(KeyPlace + 4) = 0x27; })},
      {.name = "registers-for-the-hash-of-the-origin",
       .fails = {"registration.attestation"},
       .hint = "the authenticator names another relying party",
       .statement =
           inStatements(isRegistration, [](Bytes& statement) { statement.front() ^= 1U; })},
  };
}

std::vector<Mistake> wrongFlags() {
  return {
      {.name = "registers-without-presence",
       .fails = {"registration.flags"},
       .hint = "no user was present",
       .statement = withoutFlags(isRegistration, 0x01)},
      {.name = "registers-without-verification",
       .fails = {"registration.flags"},
       .hint = "the user was not verified: verify the user, and then set UV",
       .statement = withoutFlags(isRegistration, 0x04)},
      {.name = "backs-up-what-cannot-be",
       .fails = {"registration.flags"},
       .hint = "its backup flags do not agree",
       .statement = withoutFlags(isRegistration, 0x08)},
      {.name = "sets-a-reserved-flag",
       .fails = {"registration.flags"},
       .hint = "a reserved flag is set",
       .statement = withFlags(isRegistration, 0x02)},
  };
}

std::vector<Mistake> wrongRegistrations() {
  return {
      {.name = "gives-all-the-same-credential-id",
       .fails = {"registration.unique"},
       .hint = "two passkeys have the same credential ID",
       .answer = inAnswers(isRegistration,
                           [](Message& answer) { answer["credentialID"] = onlyIdentifier(); }),
       .statement = inStatements(
           isRegistration,
           [](Bytes& statement) { putAt(statement, IdentifierPlace, onlyIdentifier()); }),
       .keep =
           [](const auto& request, auto& passkeys) {
             if (isRegistration(request)) {
               passkeys.back().credentialID = onlyIdentifier();
             }
           }},
      {.name = "gives-a-user-the-same-credential-id-again",
       .fails = {"registration.unique"},
       .hint = "a user's new passkey and the one before have the same credential ID",
       .answer =
           [](const auto& request, auto& answer) {
             if (isMade(request, answer)) {
               answer["credentialID"] = identifierOfUser(request);
             }
           },
       .statement =
           [](const auto& request, auto& statement) {
             if (isRegistration(request)) {
               putAt(statement, IdentifierPlace, identifierOfUser(request));
             }
           },
       .keep =
           [](const auto& request, auto& passkeys) {
             if (isRegistration(request)) {
               passkeys.back().credentialID = identifierOfUser(request);
             }
           }},
      {.name = "keeps-a-users-older-passkeys",
       .fails = {"assertion.unknown"},
       .hint = "a user's older passkey still signs in; the new one takes its place",
       .keep =
           [](const auto& request, auto& passkeys) {
             static std::vector<host::Passkey> before;
             for (const host::Passkey& old : before) {
               if (isRegistration(request) && old.userHandle == dataForKey(request, "userHandle")) {
                 passkeys.insert(passkeys.begin(), old);
               }
             }
             before = passkeys;
           }},
      {.name = "knows-a-user-by-the-handle-alone",
       .fails = {"assertion.answer"},
       .hint = "or of that user at another relying party?",
       .keep = replacing([](const auto& older, const auto& request) {
         return older.userHandle == dataForKey(request, "userHandle");
       })},
      {.name = "knows-a-user-by-name",
       .fails = {"assertion.answer"},
       .hint = "has a later registration removed it, of another user of that name,",
       .keep = replacing([](const auto& older, const auto& request) {
         return older.userName == stringForKey(request, "userName") &&
                older.relyingPartyIdentifier == stringForKey(request, "relyingPartyIdentifier");
       })},
      {.name = "keeps-the-newest-passkey-alone",
       .fails = {"assertion.answer"},
       .hint = "a passkey of the host's own is refused",
       .keep =
           [](const auto& request, auto& passkeys) {
             if (isRegistration(request)) {
               passkeys.erase(passkeys.begin(), passkeys.end() - 1);
             }
           }},
      {.name = "gives-all-the-same-key",
       .fails = {"registration.unique"},
       .hint = "two passkeys have the same public key",
       .statement = inStatements(isRegistration,
                                 [](Bytes& statement) {
                                   putAt(statement, XPlace, onlyKey().publicX());
                                   putAt(statement, YPlace, onlyKey().publicY());
                                 }),
       .keep =
           [](const auto& request, auto& passkeys) {
             if (isRegistration(request)) {
               passkeys.back().key = onlyKey();
             }
           }},
      {.name = "gives-a-user-one-key-for-all-sites",
       .fails = {"registration.unique"},
       .hint = "a user's passkeys at two sites have the same public key",
       .statement =
           [](const auto& request, auto& statement) {
             if (isRegistration(request) && isOfAlice(request)) {
               putAt(statement, XPlace, onlyKey().publicX());
               putAt(statement, YPlace, onlyKey().publicY());
             }
           },
       .keep =
           [](const auto& request, auto& passkeys) {
             if (isRegistration(request) && isOfAlice(request)) {
               passkeys.back().key = onlyKey();
             }
           }},
      {.name = "ignores-algorithms",
       .fails = {"registration.algorithm"},
       .hint = "made ES256 (-7) where only RS256 (-257) is accepted",
       .request =
           [](auto& request) { request["supportedAlgorithms"] = PropertyListValue::Array{}; }},
      {.name = "takes-the-first-algorithm-only",
       .fails = {"registration.algorithm"},
       .hint = "only the first of supportedAlgorithms is looked at",
       .request =
           [](auto& request) {
             if (isRegistration(request)) {
               const auto all = *valueForKey(request, "supportedAlgorithms")->array();
               request["supportedAlgorithms"] = PropertyListValue::Array{all.front()};
             }
           }},
      {.name = "knows-two-algorithms",
       .fails = {"registration.algorithm"},
       .hint = "or one that the host does not know is a hindrance",
       .answer =
           [](const auto& request, auto& answer) {
             if (isRegistration(request) &&
                 std::ranges::any_of(*valueForKey(request, "supportedAlgorithms")->array(),
                                     [](const auto& each) { return each != -7 && each != -257; })) {
               answer = refusal("failed");
             }
           }},
      {.name = "refuses-an-empty-list-of-algorithms",
       .fails = {"registration.algorithm"},
       .hint = "an empty supportedAlgorithms is refused; it stands for ES256",
       .answer =
           [](const auto& request, auto& answer) {
             if (isRegistration(request) &&
                 valueForKey(request, "supportedAlgorithms")->array()->empty()) {
               answer = refusal("failed");
             }
           }},
      {.name = "ignores-exclusions",
       .fails = {"registration.excluded", "registration.conditional"},
       .hint = "excludedCredentials is ignored",
       .request =
           [](auto& request) { request["excludedCredentials"] = PropertyListValue::Array{}; }},
      {.name = "reads-twenty-exclusions",
       .fails = {"registration.excluded"},
       .hint = "the last of 302 excludedCredentials, two of them alike, is ignored",
       .request = inRequests(
           isRegistration, [](Message& request) { keepTwentyOf(request, "excludedCredentials"); })},
      {.name = "lets-unknown-passkeys-hinder",
       .fails = {"registration.excluded"},
       .hint = "a passkey that the host does not have prevents nothing",
       .answer =
           [](const auto& request, auto& answer) {
             if (isRegistration(request) &&
                 !identifiersIn(request, "excludedCredentials").empty()) {
               answer = refusal("matchedExcludedCredential");
             }
           }},
      {.name = "lets-passkeys-of-others-hinder",
       .fails = {"registration.excluded"},
       .hint = "a passkey of another relying party prevents nothing",
       .answer =
           [](const auto& request, auto& answer) {
             static std::vector<Data> made;
             if (!isMade(request, answer)) {
               return;
             }
             if (std::ranges::any_of(identifiersIn(request, "excludedCredentials"),
                                     [](const Data& each) { return contains(made, each); })) {
               answer = refusal("matchedExcludedCredential");
             } else {
               made.push_back(*dataForKey(answer, "credentialID"));
             }
           }},
      {.name = "calls-an-exclusion-failed",
       .fails = {"registration.excluded"},
       .hint = "refused with \"failed\"",
       .answer =
           [](const auto& /*request*/, auto& answer) {
             if (stringForKey(answer, "errorCode") == "matchedExcludedCredential") {
               answer["errorCode"] = "failed";
             }
           }},
      {.name = "leaves-out-the-client-data-hash-without-the-user",
       .fails = {"registration.conditional"},
       .hint = "clientDataHash is missing",
       .answer = inAnswers(isSilentRegistration,
                           [](Message& answer) { answer.erase(Text("clientDataHash")); })},
      {.name = "does-without-verification-without-the-user",
       .fails = {"registration.conditional"},
       .hint = "the user was not verified",
       .request = inRequests(
           isSilentRegistration,
           [](Message& request) { request["userVerificationPreference"] = "preferred"; }),
       .statement = withoutFlags(isSilentRegistration, UserVerified)},
      {.name = "ignores-exclusions-without-the-user",
       .fails = {"registration.conditional"},
       .hint = "excludedCredentials is ignored in a conditional registration",
       .request = inRequests(
           isSilentRegistration,
           [](Message& request) { request["excludedCredentials"] = PropertyListValue::Array{}; })},
      {.name = "asks-in-a-silent-registration",
       .fails = {"registration.conditional"},
       .hint = "the request does not allow interaction",
       .serve = waitingForUser(isSilentRegistration)},
      {.name = "calls-a-silent-registration-failed",
       .fails = {"registration.conditional"},
       .hint = "a host that makes no passkeys silently refuses with userInteractionRequired",
       .answer = refusing(isSilentRegistration, "failed")},
  };
}

}  // namespace

std::vector<Mistake> registrationMistakes() {
  std::vector<Mistake> all;
  for (const auto group :
       {registrationsOfWrongKeys, wrongAttestations, wrongFlags, wrongRegistrations}) {
    std::ranges::move(group(), std::back_inserter(all));
  }
  return all;
}

}  // namespace korvan::lab::broken
