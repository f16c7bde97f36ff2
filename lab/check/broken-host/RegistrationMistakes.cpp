#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "channel/ProviderMessage.h"
#include "lab/check/broken-host/Mistake.h"
#include "lab/support/Base64Url.h"

namespace korvan::lab::broken {
namespace {

using Message = PropertyListDictionary;

// Places in a registration's authenticator data, and in the attestation object around it.
constexpr std::size_t FlagsPlace = 32;
constexpr std::size_t IdentifierPlace = 55;
constexpr std::size_t IdentifierSize = 32;
constexpr std::size_t KeyPlace = IdentifierPlace + IdentifierSize;
constexpr std::size_t XPlace = KeyPlace + 10;
constexpr std::size_t YPlace = XPlace + 35;
constexpr std::size_t CoordinateSize = 32;
constexpr std::size_t ObjectStart = 30;

bool isRegistration(const Message& request) {
  return stringForKey(request, "type") == "registration";
}

bool isSilent(const Message& request) { return !booleanForKey(request, "allowsUserInteraction"); }

bool isMade(const Message& request, const Message& answer) {
  return isRegistration(request) && booleanForKey(answer, "ok");
}

Message refusal(std::string_view code) { return failureResponse(code, "It does not work."); }

std::vector<Data> excludedIn(const Message& request) {
  std::vector<Data> identifiers;
  for (const PropertyListValue& each : *valueForKey(request, "excludedCredentials")->array()) {
    identifiers.push_back(*each.data());
  }
  return identifiers;
}

/// Alters the answer to each registration that is served.
auto inAnswers(void (*alter)(Message& answer)) {
  return [alter](const Message& request, Message& answer) {
    if (isMade(request, answer)) {
      alter(answer);
    }
  };
}

/// Alters the authenticator data of registrations alone.
auto inStatements(void (*alter)(Bytes& statement)) {
  return [alter](const Message& request, Bytes& statement) {
    if (isRegistration(request)) {
      alter(statement);
    }
  };
}

auto withoutFlag(std::uint8_t flag) {
  return [flag](const Message& request, Bytes& statement) {
    if (isRegistration(request)) {
      statement.at(FlagsPlace) &= static_cast<std::uint8_t>(~flag);
    }
  };
}

void putAt(Bytes& bytes, std::size_t place, const Data& data) {
  std::ranges::copy(data.bytes(), bytes.begin() + static_cast<std::ptrdiff_t>(place));
}

void putStatementFirst(Message& answer) {
  const Data object = *dataForKey(answer, "attestationObject");
  Bytes bytes(object.bytes().begin(), object.bytes().end());
  // {"fmt": "none", "attStmt": {}, ...}: the first two members have nine bytes each.
  std::swap_ranges(bytes.begin() + 1, bytes.begin() + 10, bytes.begin() + 10);
  answer["attestationObject"] = Data(std::move(bytes));
}

void shortenIdentifier(Bytes& statement) {
  constexpr std::size_t ShortSize = 8;
  statement.erase(statement.begin() + IdentifierPlace + ShortSize, statement.begin() + KeyPlace);
  statement.at(IdentifierPlace - 1) = ShortSize;
}

Data shortIdentifier(const Data& identifier) { return identifier.slice(0, 8); }

const Data& onlyIdentifier() {
  static const Data identifier = Data(Bytes(IdentifierSize, 7));
  return identifier;
}

const host::SigningKey& onlyKey() {
  static const host::SigningKey key = host::SigningKey::generate();
  return key;
}

/// Never answers a silent registration: it asks a user who is not there.
void serveWithUser(int socket, const Mistake& mistake, const Surroundings& surroundings) {
  const Bytes body = readFrame(socket);
  const auto request = surroundings.propertyLists.decode(Data::copyOf(body));
  if (request && request->dictionary() != nullptr && isRegistration(*request->dictionary()) &&
      isSilent(*request->dictionary())) {
    std::ignore = readFrame(socket);
  } else if (!body.empty()) {
    sendAll(socket, answerFrame(body, mistake, surroundings));
  }
}

std::vector<Mistake> mistakesInAnswers() {
  return {
      {.name = "leaves-out-the-client-data-hash",
       .fails = {"registration.answer"},
       .hint = "clientDataHash is missing",
       .answer = inAnswers([](Message& answer) { answer.erase(Text("clientDataHash")); })},
      {.name = "writes-the-client-data-hash-as-text",
       .fails = {"registration.answer"},
       .hint = "clientDataHash is a string, not data: the base64url text of the right bytes",
       .answer = inAnswers([](Message& answer) {
         answer["clientDataHash"] = base64Url(dataForKey(answer, "clientDataHash")->bytes());
       })},
      {.name = "writes-the-new-credential-id-as-text",
       .fails = {"registration.answer"},
       .hint = "credentialID is a string, not data: it looks like base64url",
       .answer = inAnswers([](Message& answer) {
         answer["credentialID"] = base64Url(dataForKey(answer, "credentialID")->bytes());
       })},
      {.name = "answers-registrations-for-the-origin",
       .fails = {"registration.answer"},
       .hint = "that is the origin",
       .answer = inAnswers([](Message& answer) {
         answer["relyingPartyIdentifier"] =
             "https://" + *stringForKey(answer, "relyingPartyIdentifier");
       })},
      {.name = "refuses-registrations",
       .fails = {"registration.answer"},
       .hint = "a plain registration is refused",
       .answer =
           [](const auto& request, auto& answer) {
             if (isRegistration(request)) {
               answer = refusal("userInteractionRequired");
             }
           }},
  };
}

std::vector<Mistake> mistakesInAttestations() {
  return {
      {.name = "attests-with-bare-authenticator-data",
       .fails = {"registration.attestation"},
       .hint = "this is authData without its object",
       .answer = inAnswers([](Message& answer) {
         const Data object = *dataForKey(answer, "attestationObject");
         answer["attestationObject"] = object.slice(ObjectStart, object.size() - ObjectStart);
       })},
      {.name = "attests-with-keys-out-of-order",
       .fails = {"registration.attestation"},
       .hint = "keys out of order",
       .answer = inAnswers(putStatementFirst)},
      {.name = "attests-without-the-flag",
       .fails = {"registration.attestation"},
       .hint = "the flag AT is missing",
       .statement = withoutFlag(0x40)},
      {.name = "writes-x-little-endian",
       .fails = {"registration.attestation"},
       .hint = "x is little-endian",
       .statement = inStatements([](Bytes& statement) {
         std::reverse(statement.begin() + XPlace, statement.begin() + XPlace + CoordinateSize);
       })},
      {.name = "attests-another-credential-id",
       .fails = {"registration.attestation"},
       .hint = "another credential ID outside",
       .statement = inStatements([](Bytes& statement) { statement.at(IdentifierPlace) ^= 1U; })},
      {.name = "makes-short-credential-ids",
       .fails = {"registration.attestation"},
       .hint = "a credential ID of 8 bytes",
       .answer = inAnswers([](Message& answer) {
         answer["credentialID"] = shortIdentifier(*dataForKey(answer, "credentialID"));
       }),
       .statement = inStatements(shortenIdentifier),
       .keep =
           [](const auto& request, auto& passkeys) {
             if (isRegistration(request)) {
               passkeys.back().credentialID = shortIdentifier(passkeys.back().credentialID);
             }
           }},
      {.name = "calls-its-key-eddsa",
       .fails = {"registration.attestation", "registration.algorithm"},
       .hint = "the key is not for ES256 on P-256",
       .statement = inStatements([](Bytes& statement) { statement.at(KeyPlace + 4) = 0x27; })},
      {.name = "registers-for-the-hash-of-the-origin",
       .fails = {"registration.attestation"},
       .hint = "the authenticator names another relying party",
       .statement = inStatements([](Bytes& statement) { statement.front() ^= 1U; })},
  };
}

std::vector<Mistake> mistakesInFlags() {
  return {
      {.name = "registers-without-presence",
       .fails = {"registration.flags"},
       .hint = "no user was present",
       .statement = withoutFlag(0x01)},
      {.name = "registers-without-verification",
       .fails = {"registration.flags"},
       .hint = "the user was not verified",
       .statement = withoutFlag(0x04)},
      {.name = "backs-up-what-cannot-be",
       .fails = {"registration.flags"},
       .hint = "its backup flags do not agree",
       .statement = withoutFlag(0x08)},
      {.name = "sets-a-reserved-flag",
       .fails = {"registration.flags"},
       .hint = "a reserved flag is set",
       .statement = inStatements([](Bytes& statement) { statement.at(FlagsPlace) |= 0x02U; })},
  };
}

std::vector<Mistake> mistakesInChoices() {
  return {
      {.name = "gives-all-the-same-credential-id",
       .fails = {"registration.unique"},
       .hint = "two passkeys have the same credential ID",
       .answer = inAnswers([](Message& answer) { answer["credentialID"] = onlyIdentifier(); }),
       .statement = inStatements(
           [](Bytes& statement) { putAt(statement, IdentifierPlace, onlyIdentifier()); }),
       .keep =
           [](const auto& request, auto& passkeys) {
             if (isRegistration(request)) {
               passkeys.back().credentialID = onlyIdentifier();
             }
           }},
      {.name = "gives-all-the-same-key",
       .fails = {"registration.unique"},
       .hint = "two passkeys have the same public key",
       .statement = inStatements([](Bytes& statement) {
         putAt(statement, XPlace, onlyKey().publicX());
         putAt(statement, YPlace, onlyKey().publicY());
       }),
       .keep =
           [](const auto& request, auto& passkeys) {
             if (isRegistration(request)) {
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
      {.name = "ignores-exclusions",
       .fails = {"registration.excluded"},
       .hint = "excludedCredentials is ignored",
       .request =
           [](auto& request) { request["excludedCredentials"] = PropertyListValue::Array{}; }},
      {.name = "lets-unknown-passkeys-hinder",
       .fails = {"registration.excluded"},
       .hint = "a passkey that the host does not have is no hindrance",
       .answer =
           [](const auto& request, auto& answer) {
             if (isRegistration(request) && !excludedIn(request).empty()) {
               answer = refusal("matchedExcludedCredential");
             }
           }},
      {.name = "lets-passkeys-of-others-hinder",
       .fails = {"registration.excluded"},
       .hint = "a passkey of another relying party is no hindrance",
       .answer =
           [](const auto& request, auto& answer) {
             static std::vector<Data> made;
             if (!isMade(request, answer)) {
               return;
             }
             if (std::ranges::any_of(excludedIn(request), [](const Data& each) {
                   return std::ranges::find(made, each) != made.end();
                 })) {
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
      {.name = "asks-in-a-silent-registration",
       .fails = {"registration.conditional"},
       .hint = "the request does not allow interaction",
       .serve = serveWithUser},
      {.name = "calls-a-silent-registration-failed",
       .fails = {"registration.conditional"},
       .hint = "a host that makes no passkeys silently refuses with userInteractionRequired",
       .answer =
           [](const auto& request, auto& answer) {
             if (isRegistration(request) && isSilent(request)) {
               answer = refusal("failed");
             }
           }},
  };
}

}  // namespace

std::vector<Mistake> registrationMistakes() {
  std::vector<Mistake> all;
  for (const auto group :
       {mistakesInAnswers, mistakesInAttestations, mistakesInFlags, mistakesInChoices}) {
    std::ranges::move(group(), std::back_inserter(all));
  }
  return all;
}

}  // namespace korvan::lab::broken
