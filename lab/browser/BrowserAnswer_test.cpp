#include "lab/browser/BrowserAnswer.h"

#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/host/AuthenticatorData.h"
#include "lab/host/SigningKey.h"
#include "lab/support/Base64Url.h"
#include "lab/support/Bytes_testing.h"

namespace korvan::lab {
namespace {

using nlohmann::json;
using testing::HasSubstr;

const host::SigningKey& testKey() {
  static const host::SigningKey key = host::SigningKey::generate();
  return key;
}

Data credentialID() { return testBytes(32, 'c'); }

Data registeredData() {
  return host::authenticatorData(
      "example.com", 0x45, 0,
      host::attestedCredentialData(credentialID().bytes(), testKey()).bytes());
}

std::string text(const Data& data) { return base64Url(data.bytes()); }

BrowserRequest creationRequest(const json& extensions = json::object()) {
  BrowserRequest request;
  request.kind = BrowserRequest::Kind::create;
  request.clientDataJSON = "{}";
  request.details = {{"rp", {{"id", "example.com"}}},
                     {"user", {{"id", "Ym9i"}, {"name", "bob"}}},
                     {"extensions", extensions}};
  return request;
}

BrowserRequest signInRequest() {
  BrowserRequest request;
  request.kind = BrowserRequest::Kind::get;
  request.clientDataJSON = "{}";
  request.details = {{"rpId", "example.com"}};
  return request;
}

CompletedRegistration registration(const Data& attestationObject) {
  return {.credential = {.relyingParty = "example.com",
                         .clientDataHash = testBytes(32, 'h'),
                         .credentialID = credentialID(),
                         .attestationObject = attestationObject}};
}

CompletedRegistration registration() {
  return registration(host::attestationObject(registeredData().bytes()));
}

CompletedAssertion assertion() {
  return {.credential = {.userHandle = bytes({'b', 'o', 'b'}),
                         .relyingParty = "example.com",
                         .signature = testBytes(70, 's'),
                         .clientDataHash = testBytes(32, 'h'),
                         .authenticatorData = host::authenticatorData("example.com", 5, 1),
                         .credentialID = credentialID()}};
}

Canceled cancellation(ExtensionErrorCode code, const std::string& words) {
  return {.error = {.domain = ErrorDomain::extension,
                    .code = static_cast<std::int64_t>(code),
                    .userInfo = ErrorUserInfo{words}}};
}

TEST(BrowserAnswer, TakesTheAttestationApartForTheBrowser) {
  const json response = browserAnswer(creationRequest(), registration()).response;
  EXPECT_EQ(response,
            (json{{"type", "public-key"},
                  {"id", text(credentialID())},
                  {"rawId", text(credentialID())},
                  {"authenticatorAttachment", "platform"},
                  {"clientExtensionResults", json::object()},
                  {"response",
                   {{"clientDataJSON", "e30"},
                    {"attestationObject", text(host::attestationObject(registeredData().bytes()))},
                    {"authenticatorData", text(registeredData())},
                    {"publicKey", text(testKey().subjectPublicKeyInfo())},
                    {"publicKeyAlgorithm", -7},
                    {"transports", {"internal"}}}}}));
}

TEST(BrowserAnswer, SaysThatAPasskeyIsDiscoverableWhenThePageAsks) {
  const auto resultsFor = [](const json& extensions) {
    return browserAnswer(creationRequest(extensions), registration())
        .response["clientExtensionResults"];
  };
  EXPECT_EQ(resultsFor({{"credProps", true}}), (json{{"credProps", {{"rk", true}}}}));
  EXPECT_EQ(resultsFor({{"credProps", false}}), json::object());
  EXPECT_EQ(resultsFor(nullptr), json::object());
}

TEST(BrowserAnswer, IsTheSignatureForASignIn) {
  EXPECT_EQ(browserAnswer(signInRequest(), assertion()).response,
            (json{{"type", "public-key"},
                  {"id", text(credentialID())},
                  {"rawId", text(credentialID())},
                  {"authenticatorAttachment", "platform"},
                  {"clientExtensionResults", json::object()},
                  {"response",
                   {{"clientDataJSON", "e30"},
                    {"authenticatorData", text(host::authenticatorData("example.com", 5, 1))},
                    {"signature", text(testBytes(70, 's'))},
                    {"userHandle", "Ym9i"}}}}));
}

TEST(BrowserAnswer, LeavesOutAUserHandleThatTheHostDidNotSend) {
  CompletedAssertion completed = assertion();
  for (const std::optional<Data>& none : {std::optional<Data>(), std::optional(Data())}) {
    completed.credential.userHandle = none;
    EXPECT_FALSE(
        browserAnswer(signInRequest(), completed).response["response"].contains("userHandle"));
  }
}

TEST(BrowserAnswer, IsARefusalWithTheReasonWhenTheHostsRegistrationCannotBeUsed) {
  CompletedRegistration ofAnother = registration();
  ofAnother.credential.credentialID = testBytes(32, 'x');
  CompletedRegistration without = registration();
  without.credential.attestationObject = std::nullopt;
  const auto withData = [](const Data& data) {
    return registration(host::attestationObject(data.bytes()));
  };
  const Data statement = registeredData().slice(0, 37);
  const std::vector<std::pair<CompletedRegistration, std::string>> rows = {
      {without, "no attestation object"},
      {registration(bytes({0xFF, 0x00})), "no authenticator data"},
      {withData(testBytes(30, 0)), "too short"},
      {withData(statement), "no credential"},
      {ofAnother, "another credential"},
      {withData(registeredData().slice(0, registeredData().size() - 1)), "public key cannot be"}};
  for (const auto& [completed, words] : rows) {
    const BrowserAnswer answer = browserAnswer(creationRequest(), completed);
    EXPECT_EQ(
        answer.message(),
        (json{{"error",
               {{"name", "NotAllowedError"}, {"message", "Korvan's answer cannot be used."}}}}));
    EXPECT_THAT(answer.reason, HasSubstr(words));
    EXPECT_FALSE(identityMade(creationRequest(), answer).has_value());
  }
}

TEST(BrowserAnswer, IsARefusalForWhatBrowsersDoNotRead) {
  const auto reasonFor = [](const Data& attestationObject) {
    return browserAnswer(creationRequest(), registration(attestationObject)).reason;
  };
  const Data whole = registeredData();
  std::vector<std::uint8_t> data(whole.bytes().begin(), whole.bytes().end());
  data[32] ^= 0x40U;
  EXPECT_THAT(reasonFor(host::attestationObject(Data::copyOf(data).bytes())),
              HasSubstr("flag AT is not set"));

  const Data object = host::attestationObject(registeredData().bytes());
  std::vector<std::uint8_t> stretched(object.bytes().begin(), object.bytes().end());
  // The map's size, 3, in two bytes.
  stretched.front() = 0xB8;
  stretched.insert(stretched.begin() + 1, 3);
  EXPECT_THAT(reasonFor(Data::copyOf(stretched)), HasSubstr("is not canonical CBOR: "));
}

TEST(BrowserAnswer, IsARefusalForAKeyThatIsNoPoint) {
  const Data broken = registeredData();
  std::vector<std::uint8_t> changed(broken.bytes().begin(), broken.bytes().end());
  changed.back() ^= 1U;
  const auto answer = browserAnswer(
      creationRequest(), registration(host::attestationObject(Data::copyOf(changed).bytes())));
  EXPECT_THAT(answer.reason, HasSubstr("is no P-256 public key"));
}

TEST(BrowserAnswer, IsARefusalWithTheReasonWhenTheHostsAssertionCannotBeUsed) {
  using Credential = PasskeyAssertionCredential;
  const std::vector<std::pair<std::optional<Data> Credential::*, std::string>> rows = {
      {&Credential::signature, "no signature"},
      {&Credential::authenticatorData, "no authenticator data"},
      {&Credential::credentialID, "no credential ID"}};
  for (const auto& [member, words] : rows) {
    CompletedAssertion completed = assertion();
    completed.credential.*member = std::nullopt;
    const BrowserAnswer answer = browserAnswer(signInRequest(), completed);
    EXPECT_EQ(answer.errorName, "NotAllowedError");
    EXPECT_THAT(answer.reason, HasSubstr(words));
  }
  CompletedAssertion completed = assertion();
  completed.credential.authenticatorData = testBytes(36, 0);
  EXPECT_THAT(browserAnswer(signInRequest(), completed).reason, HasSubstr("too short"));
}

TEST(BrowserAnswer, TellsThePageWhyTheRequestWasCanceled) {
  using enum ExtensionErrorCode;
  for (const auto& [code, name] : {std::pair(failed, "NotAllowedError"),
                                   {userCanceled, "NotAllowedError"},
                                   {userInteractionRequired, "NotAllowedError"},
                                   {credentialIdentityNotFound, "NotAllowedError"},
                                   {matchedExcludedCredential, "InvalidStateError"}}) {
    const BrowserAnswer answer = browserAnswer(creationRequest(), cancellation(code, "words"));
    EXPECT_EQ(answer.message(), (json{{"error", {{"name", name}, {"message", "words"}}}}));
    EXPECT_EQ(answer.reason, "ASExtensionErrorDomain code " +
                                 std::to_string(static_cast<int>(code)) + ", \"words\"");
  }
  const BrowserAnswer wordless = browserAnswer(
      signInRequest(),
      Canceled{.error = {.domain = ErrorDomain::posix, .code = 102, .userInfo = std::nullopt}});
  EXPECT_EQ(wordless.errorName, "NotAllowedError");
  EXPECT_EQ(wordless.errorMessage, "Korvan canceled the request.");
  EXPECT_EQ(wordless.reason, "NSPOSIXErrorDomain code 102");
}

TEST(BrowserAnswer, TellsThePageOfACallWithoutAnEnd) {
  const std::vector<std::pair<Outcome, std::string>> rows = {
      {TimedOut{.waitedFor = "answer"}, "did not answer in time"},
      {NoticePending(), "nobody pressed OK"},
      {Refused{.reason = "userHandle is nil"}, "userHandle is nil"}};
  for (const auto& [outcome, words] : rows) {
    const BrowserAnswer answer = browserAnswer(signInRequest(), outcome);
    EXPECT_EQ(answer.errorName, "NotAllowedError");
    EXPECT_NE(answer.errorMessage, "");
    EXPECT_THAT(answer.reason, HasSubstr(words));
  }
}

TEST(BrowserAnswer, IsEmptyForReportsAndTheConfiguration) {
  for (const Outcome& outcome : {Outcome(Returned()), Outcome(CompletedConfiguration())}) {
    EXPECT_EQ(browserAnswer(BrowserRequest(), outcome).message(), (json{{"response", nullptr}}));
  }
}

TEST(BrowserAnswer, MakesAnIdentityKnownThatWasRegistered) {
  EXPECT_EQ(identityMade(creationRequest(), browserAnswer(creationRequest(), registration())),
            (KnownIdentity{.relyingParty = "example.com",
                           .credentialID = text(credentialID()),
                           .userHandle = "Ym9i",
                           .userName = "bob"}));
  EXPECT_EQ(identityMade(signInRequest(), browserAnswer(signInRequest(), assertion())),
            std::nullopt);
}

}  // namespace
}  // namespace korvan::lab
