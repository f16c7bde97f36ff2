#include "lab/browser/BrowserAnswer.h"

#include <stdexcept>
#include <utility>

#include "lab/site/AttestationReader.h"
#include "lab/site/Cbor.h"
#include "lab/site/PublicKey.h"
#include "lab/support/AuthenticatorFlags.h"
#include "lab/support/Base64Url.h"

namespace korvan::lab {
namespace {

using Json = nlohmann::json;

/// The host's answer is not a credential.
class UnusableAnswer : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

const Data& present(const std::optional<Data>& data, const char* name) {
  if (!data || data->empty()) {
    throw UnusableAnswer(std::string("the host's answer has no ") + name);
  }
  return *data;
}

template <typename Value>
Value readable(std::optional<Value> value, const std::string& flaw) {
  if (!value) {
    throw UnusableAnswer(flaw);
  }
  return *std::move(value);
}

std::string encoded(const Data& data) { return base64Url(data.bytes()); }

std::string encoded(std::string_view text) {
  return base64Url({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

/// What both kinds of credential have.
Json credentialJson(const Data& credentialID, Json response, Json extensions) {
  return {{"type", "public-key"},
          {"id", encoded(credentialID)},
          {"rawId", encoded(credentialID)},
          {"authenticatorAttachment", "platform"},
          {"clientExtensionResults", std::move(extensions)},
          {"response", std::move(response)}};
}

/// Browsers read no other form.
/// https://www.w3.org/TR/webauthn-3/#sctn-conforming-all-classes
void requireCanonical(const Data& cbor, const std::string& name) {
  if (const auto flaw = flawOfCanonicalCbor(cbor)) {
    throw UnusableAnswer(name + " is not canonical CBOR: " + *flaw);
  }
}

struct AttestedKey {
  Data subjectPublicKeyInfo;
  std::int64_t algorithm = 0;
};

AttestedKey keyIn(const AttestedCredential& attested) {
  constexpr std::int64_t AlgorithmLabel = 3;
  const CborStart key = loadCbor(attested.coseKey);
  const auto point = readCoseKey(attested.coseKey);
  const auto algorithm = cborInteger(cborMember(key.item.get(), AlgorithmLabel));
  if (!point || !algorithm) {
    throw UnusableAnswer("the attestation object's public key cannot be read");
  }
  try {
    return {.subjectPublicKeyInfo = PublicKey::fromPoint(point->x.bytes(), point->y.bytes()).der(),
            .algorithm = *algorithm};
  } catch (const std::invalid_argument& flaw) {
    throw UnusableAnswer(std::string("the attestation object's public key ") + flaw.what());
  }
}

/// Passkeys can always be found without their IDs.
Json extensionsFor(const BrowserRequest& request) {
  const Json asked = request.details.value("extensions", Json::object());
  return asked.is_object() && asked.value("credProps", Json()) == true
             ? Json{{"credProps", {{"rk", true}}}}
             : Json::object();
}

Json registrationJson(const BrowserRequest& request,
                      const PasskeyRegistrationCredential& credential) {
  const Data& object = present(credential.attestationObject, "attestation object");
  const Data authenticatorData =
      readable(readAttestationObject(object), "the attestation object has no authenticator data");
  const auto statement = readable(readAuthenticatorData(authenticatorData),
                                  "the attestation object's authenticator data are too short");
  if ((statement.flags & AttestedCredentialDataIncluded) == 0) {
    throw UnusableAnswer("the attestation object's flag AT is not set");
  }
  const auto attested = readable(readAttestedCredentialData(statement.rest),
                                 "the attestation object has no credential");
  const Data& credentialID = present(credential.credentialID, "credential ID");
  if (attested.credentialID != credentialID) {
    throw UnusableAnswer("the attestation object is of another credential than the answer");
  }
  const AttestedKey key = keyIn(attested);
  requireCanonical(object, "the attestation object");
  requireCanonical(attested.coseKey, "the attestation object's public key");
  return credentialJson(credentialID,
                        {{"clientDataJSON", encoded(request.clientDataJSON)},
                         {"attestationObject", encoded(object)},
                         {"authenticatorData", encoded(authenticatorData)},
                         {"publicKey", encoded(key.subjectPublicKeyInfo)},
                         {"publicKeyAlgorithm", key.algorithm},
                         {"transports", {"internal"}}},
                        extensionsFor(request));
}

Json assertionJson(const BrowserRequest& request, const PasskeyAssertionCredential& credential) {
  const Data& authenticatorData = present(credential.authenticatorData, "authenticator data");
  readable(readAuthenticatorData(authenticatorData),
           "the answer's authenticator data are too short");
  Json response = {{"clientDataJSON", encoded(request.clientDataJSON)},
                   {"authenticatorData", encoded(authenticatorData)},
                   {"signature", encoded(present(credential.signature, "signature"))}};
  if (credential.userHandle && !credential.userHandle->empty()) {
    response["userHandle"] = encoded(*credential.userHandle);
  }
  return credentialJson(present(credential.credentialID, "credential ID"), std::move(response),
                        Json::object());
}

std::string reasonFor(const Error& error) {
  return std::string(nameOfErrorDomain(error.domain))
      .append(" code ")
      .append(std::to_string(error.code))
      .append(error.localizedDescription() ? ", \"" + *error.localizedDescription() + "\"" : "");
}

BrowserAnswer cancellationAnswer(const Error& error) {
  const std::string words = error.localizedDescription().value_or("Korvan canceled the request.");
  BrowserAnswer answer = refusalAnswer(words, reasonFor(error));
  if (error.domain == ErrorDomain::extension &&
      error.code == static_cast<std::int64_t>(ExtensionErrorCode::matchedExcludedCredential)) {
    answer.errorName = "InvalidStateError";
  }
  return answer;
}

BrowserAnswer answerWith(Json response) {
  BrowserAnswer answer;
  answer.response = std::move(response);
  return answer;
}

/// One function per outcome.
struct AnswerFor {
  const BrowserRequest& request;

  BrowserAnswer operator()(const CompletedRegistration& completed) const {
    return answerWith(registrationJson(request, completed.credential));
  }
  BrowserAnswer operator()(const CompletedAssertion& completed) const {
    return answerWith(assertionJson(request, completed.credential));
  }
  BrowserAnswer operator()(const CompletedConfiguration& /*completed*/) const { return {}; }
  BrowserAnswer operator()(const Returned& /*returned*/) const { return {}; }
  BrowserAnswer operator()(const Canceled& canceled) const {
    return cancellationAnswer(canceled.error);
  }
  BrowserAnswer operator()(const Refused& refused) const {
    return refusalAnswer("The extension refused the request.", refused.reason);
  }
  BrowserAnswer operator()(const TimedOut& timedOut) const {
    const std::string words = "Korvan did not " + timedOut.waitedFor + " in time.";
    return refusalAnswer(words, words);
  }
  BrowserAnswer operator()(const NoticePending& /*pending*/) const {
    return refusalAnswer("The notice was not answered.", "nobody pressed OK");
  }
};

}  // namespace

Json BrowserAnswer::message() const {
  if (!errorName.empty()) {
    return {{"error", {{"name", errorName}, {"message", errorMessage}}}};
  }
  return {{"response", response}};
}

BrowserAnswer browserAnswer(const BrowserRequest& request, const Outcome& outcome) {
  try {
    return std::visit(AnswerFor{request}, outcome);
  } catch (const UnusableAnswer& flaw) {
    return refusalAnswer("Korvan's answer cannot be used.", flaw.what());
  }
}

BrowserAnswer refusalAnswer(std::string_view message, std::string_view reason) {
  return {.response = nullptr,
          .errorName = "NotAllowedError",
          .errorMessage = std::string(message),
          .reason = std::string(reason)};
}

std::optional<KnownIdentity> identityMade(const BrowserRequest& request,
                                          const BrowserAnswer& answer) {
  if (request.kind != BrowserRequest::Kind::create || answer.response.is_null()) {
    return std::nullopt;
  }
  return KnownIdentity{.relyingParty = request.details.at("rp").at("id"),
                       .credentialID = answer.response.at("id"),
                       .userHandle = request.details.at("user").at("id"),
                       .userName = request.details.at("user").at("name")};
}

}  // namespace korvan::lab
