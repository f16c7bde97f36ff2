#include "lab/browser/site/Ceremonies.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "channel/ProviderMessage.h"
#include "lab/browser/site/ClientDataJudge.h"
#include "lab/site/AnswerJudge.h"
#include "lab/site/AttestationReader.h"
#include "lab/site/ValueWords.h"
#include "lab/support/Base64Url.h"
#include "lab/support/RandomData.h"

namespace korvan::lab {
namespace {

namespace key = provider_message_key;
using nlohmann::json;

constexpr const char* RelyingPartyIdentifier = "localhost";
constexpr std::size_t ChallengeSize = 32;
constexpr std::size_t UserHandleSize = 16;
/// Those that nobody answers go when there are more.
constexpr std::size_t GreatestRequests = 100;

Data bytesOf(const json& value, const char* name) {
  auto bytes = fromBase64Url(value.get_ref<const std::string&>());
  if (!bytes) {
    throw std::invalid_argument(std::string(name) + " is not base64url without padding");
  }
  return std::move(*bytes);
}

std::optional<Data> optionalBytes(const json& object, const char* name) {
  const auto found = object.find(name);
  return found == object.end() || found->is_null() ? std::nullopt
                                                   : std::optional(bytesOf(*found, name));
}

std::string userVerificationIn(const json& wish) {
  constexpr std::array<std::string_view, 3> Known{"discouraged", "preferred", "required"};
  auto value = wish.at("userVerification").get<std::string>();
  if (std::ranges::find(Known, value) == Known.end()) {
    throw std::invalid_argument("userVerification is discouraged, preferred or required");
  }
  return value;
}

bool createsIn(const json& wish) {
  const auto& ceremony = wish.at("ceremony").get_ref<const std::string&>();
  if (ceremony != "create" && ceremony != "get") {
    throw std::invalid_argument("ceremony is create or get");
  }
  return ceremony == "create";
}

json descriptorsOf(const std::vector<Data>& credentials) {
  json descriptors = json::array();
  for (const Data& credential : credentials) {
    descriptors.push_back({{"type", "public-key"}, {"id", base64Url(credential.bytes())}});
  }
  return descriptors;
}

WebCredential webCredentialFrom(const json& credential) {
  const json& response = credential.at("response");
  const Data clientData = bytesOf(response.at("clientDataJSON"), "clientDataJSON");
  return {.credentialID = bytesOf(credential.at("rawId"), "rawId"),
          .clientDataJSON = std::string(clientData.bytes().begin(), clientData.bytes().end()),
          .attestationObject = optionalBytes(response, "attestationObject"),
          .authenticatorData = optionalBytes(response, "authenticatorData"),
          .signature = optionalBytes(response, "signature"),
          .userHandle = optionalBytes(response, "userHandle")};
}

void set(ProviderMessage& message, std::string_view key, const std::optional<Data>& value) {
  if (value) {
    message.insert_or_assign(Text(key), PropertyListValue(*value));
  }
}

/// The credential as the host's answer that it came from.
ProviderMessage messageOf(const WebCredential& credential) {
  ProviderMessage message{{key::ok, true},
                          {key::relyingPartyIdentifier, RelyingPartyIdentifier},
                          {key::clientDataHash, sha256(credential.clientDataJSON)}};
  set(message, key::credentialID, credential.credentialID);
  set(message, key::attestationObject, credential.attestationObject);
  set(message, key::authenticatorData, credential.authenticatorData);
  set(message, key::signature, credential.signature);
  set(message, key::userHandle, credential.userHandle);
  return message;
}

/// Adds what was found about a message, without what holds because messageOf() has put it there.
void append(FindingList& findings, const FindingList& more) {
  std::ranges::copy_if(more, std::back_inserter(findings), [](const Finding& finding) {
    const bool aboutMessage =
        finding.subject == Finding::Subject::kinds || finding.subject == Finding::Subject::echoes;
    return !aboutMessage || finding.verdict != Finding::Verdict::holds;
  });
}

const char* nameOf(Finding::Verdict verdict) {
  switch (verdict) {
    case Finding::Verdict::holds:
      return "holds";
    case Finding::Verdict::warns:
      return "warns";
    case Finding::Verdict::fails:
      return "fails";
    case Finding::Verdict::notChecked:
      break;
  }
  return "notChecked";
}

json jsonOf(const FindingList& findings) {
  json list = json::array();
  for (const Finding& finding : findings) {
    list.push_back({{"verdict", nameOf(finding.verdict)},
                    {"words", finding.words},
                    {"wanted", finding.wanted},
                    {"got", finding.got},
                    {"hint", finding.hint}});
  }
  return list;
}

}  // namespace

json Ceremonies::begin(const json& wish) {
  Request request{.challenge = base64Url(randomData(ChallengeSize).bytes()),
                  .creates = createsIn(wish),
                  .conditional = wish.value("conditional", false),
                  .userVerification = userVerificationIn(wish),
                  .credentials = {},
                  .userName = {},
                  .userHandle = {}};
  for (const json& credential : wish.value("credentials", json::array())) {
    request.credentials.push_back(bytesOf(credential, "a credential's ID"));
  }
  const json options = request.creates
                           ? creationOptions(request)
                           : json{{"challenge", request.challenge},
                                  {"rpId", RelyingPartyIdentifier},
                                  {"allowCredentials", descriptorsOf(request.credentials)},
                                  {"userVerification", request.userVerification}};
  if (requests_.size() == GreatestRequests) {
    requests_.erase(requests_.begin());
  }
  requests_.push_back(std::move(request));
  return options;
}

json Ceremonies::creationOptions(Request& request) {
  request.userName = "visitor " + std::to_string(++visitors_);
  request.userHandle = randomData(UserHandleSize);
  return {{"challenge", request.challenge},
          {"rp", {{"id", RelyingPartyIdentifier}, {"name", "Korvan's lab"}}},
          {"user",
           {{"id", base64Url(request.userHandle.bytes())},
            {"name", request.userName},
            {"displayName", request.userName}}},
          {"pubKeyCredParams", {{{"type", "public-key"}, {"alg", -7}}}},
          {"excludeCredentials", descriptorsOf(request.credentials)},
          {"authenticatorSelection",
           {{"residentKey", "required"}, {"userVerification", request.userVerification}}},
          {"attestation", "none"}};
}

json Ceremonies::finish(const json& answer, const PostingPage& page) {
  const WebCredential credential = webCredentialFrom(answer.at("credential"));
  const Request request = take(answer.at("challenge").get<std::string>());
  FindingList findings = judgeClientData(
      credential.clientDataJSON, {.type = request.creates ? "webauthn.create" : "webauthn.get",
                                  .challenge = request.challenge,
                                  .origin = page.origin,
                                  .crossOrigin = page.embedded});
  findings = request.creates ? judgeNewPasskey(request, credential, std::move(findings))
                             : judgeSignIn(request, credential, std::move(findings));
  return {{"verified", isVerified(findings)},
          {"findings", jsonOf(findings)},
          {"details", detailsOf(credential)}};
}

Ceremonies::Request Ceremonies::take(const std::string& challenge) {
  const auto found = std::ranges::find(requests_, challenge, &Request::challenge);
  if (found == requests_.end()) {
    throw std::invalid_argument("this challenge was never made, or has been answered");
  }
  Request request = std::move(*found);
  requests_.erase(found);
  return request;
}

FindingList Ceremonies::judgeNewPasskey(const Request& request, const WebCredential& credential,
                                        FindingList findings) {
  RegistrationReview review =
      judgeRegistration(messageOf(credential),
                        {.request = {.relyingParty = RelyingPartyIdentifier,
                                     .clientDataHash = sha256(credential.clientDataJSON),
                                     .verificationRequired = request.userVerification == "required",
                                     .presenceRequired = !request.conditional},
                         .userHandle = request.userHandle,
                         .excludedCredentials = request.credentials});
  append(findings, review.findings);
  if (review.passkey && isVerified(findings)) {
    passkeys_.push_back({.passkey = std::move(*review.passkey), .userName = request.userName});
  }
  return findings;
}

FindingList Ceremonies::judgeSignIn(const Request& request, const WebCredential& credential,
                                    FindingList findings) {
  AssertionTerms terms;
  terms.request = {.relyingParty = RelyingPartyIdentifier,
                   .clientDataHash = sha256(credential.clientDataJSON),
                   .verificationRequired = request.userVerification == "required"};
  terms.allowedCredentials = request.credentials;
  StoredPasskey* signer = nullptr;
  for (StoredPasskey& each : passkeys_) {
    if (each.passkey.credentialID == credential.credentialID) {
      signer = &each;
      terms.passkey = each.passkey;
    } else {
      terms.otherPasskeys.push_back(each.passkey);
    }
  }
  append(findings, judgeAssertion(messageOf(credential), terms));
  if (signer != nullptr && isVerified(findings)) {
    signer->passkey.signCount = readAuthenticatorData(*credential.authenticatorData)->signCount;
  }
  return findings;
}

json Ceremonies::passkeys() const {
  json list = json::array();
  for (const StoredPasskey& each : passkeys_) {
    const RegisteredPasskey& passkey = each.passkey;
    list.push_back({{"credentialID", base64Url(passkey.credentialID->bytes())},
                    {"userHandle", base64Url(passkey.userHandle->bytes())},
                    {"userName", each.userName}});
  }
  return list;
}

}  // namespace korvan::lab
