#include "lab/browser/BrowserRequest.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/browser/BrowserMessages_testing.h"
#include "lab/json/CallParser.h"
#include "lab/json/JsonFields.h"
#include "lab/site/ValueWords.h"
#include "lab/support/Base64Url.h"

namespace korvan::lab {
namespace {

using nlohmann::json;
using testing::HasSubstr;

BrowserRequest parsed(const json& message) {
  auto request = parseBrowserRequest(message.dump());
  EXPECT_TRUE(request) << request.error();
  return request.value_or(BrowserRequest());
}

std::string hashOf(const std::string& clientData) { return base64Url(sha256(clientData).bytes()); }

TEST(BrowserRequest, TakesThePageFromTheBrowserAndNotForWhatItAsked) {
  json message = creationMessage();
  message["details"]["extensions"]["credProps"] = true;
  const BrowserRequest request = parsed(message);
  EXPECT_EQ(request.kindName(), "create");
  EXPECT_EQ(request.origin, "https://login.example.com");
  EXPECT_EQ(request.details["extensions"], (json{{"credProps", true}}));
}

TEST(BrowserRequest, WritesTheClientDataAsBrowsersDo) {
  const std::string rest = R"(,"origin":"https://login.example.com","crossOrigin":)";
  const std::string challenge = std::string(R"(","challenge":")") + TestChallenge + '"';
  EXPECT_EQ(parsed(creationMessage()).clientDataJSON,
            R"({"type":"webauthn.create)" + challenge + rest + "false}");
  EXPECT_EQ(parsed(signInMessage({{"extensions", pageExtension(false)}})).clientDataJSON,
            R"({"type":"webauthn.get)" + challenge + rest + "true}");
}

TEST(BrowserRequest, IsRefusedWithTheReasonWhenItIsNotOne) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"{", "is not JSON"},
      {"[]", "must be an object"},
      {"{}", "kind is missing"},
      {R"({"kind":1})", "kind is a number"},
      {R"({"kind":"store"})", "kind is \"store\"; it must be create, get, signal or configure"},
      {R"({"kind":"get"})", "details is missing"},
      {R"({"kind":"signal","details":{}})", "method is missing"},
      {R"({"kind":"signal","details":{},"method":"x"})", "origin is missing"},
      {signInMessage({{"extensions", json::object()}}).dump(),
       "remoteDesktopClientOverride is missing"},
      {signInMessage({{"extensions", {{"remoteDesktopClientOverride", {{"origin", "x"}}}}}}).dump(),
       "sameOriginWithAncestors must be true or false"},
      {signInMessage({{"challenge", nullptr}}).dump(), "details.challenge is missing"}};
  for (const auto& [message, words] : rows) {
    const auto request = parseBrowserRequest(message);
    ASSERT_FALSE(request) << message;
    EXPECT_THAT(request.error(), HasSubstr(words));
  }
}

TEST(BrowserRequest, ForANewPasskeyBecomesAnInteractiveRegistration) {
  const BrowserRequest request =
      parsed(creationMessage({{"authenticatorSelection", {{"userVerification", "required"}}}}));
  const json line = registrationLine(request);
  EXPECT_EQ(line["entryPoint"], "prepareInterfaceForPasskeyRegistration:");
  EXPECT_EQ(line["request"], (json{{"class", "ASPasskeyCredentialRequest"},
                                   {"credentialIdentity",
                                    {{"relyingPartyIdentifier", "example.com"},
                                     {"userName", "bob"},
                                     {"userHandle", "Ym9i"}}},
                                   {"clientDataHash", hashOf(request.clientDataJSON)},
                                   {"userVerificationPreference", "required"},
                                   {"supportedAlgorithms", {-7, -257}},
                                   {"excludedCredentials", {{{"credentialID", "AQID"}}}}}));
  EXPECT_TRUE(parseCall(line.dump()));
}

TEST(BrowserRequest, ForAPasskeyWithoutTheUserBecomesASilentRegistration) {
  json message = creationMessage();
  message["conditional"] = true;
  const json line = registrationLine(parsed(message));
  EXPECT_EQ(line["entryPoint"], "performPasskeyRegistrationWithoutUserInteractionIfPossible:");
  EXPECT_EQ(line["request"]["userVerificationPreference"], "preferred");
  EXPECT_TRUE(parseCall(line.dump()));
}

TEST(BrowserRequest, ForAKnownPasskeyBecomesAnAssertion) {
  const KnownIdentity identity{.relyingParty = "example.com",
                               .credentialID = "AQID",
                               .userHandle = "Ym9i",
                               .userName = "bob"};
  const BrowserRequest request = parsed(signInMessage({{"userVerification", "discouraged"}}));
  const json silent = assertionLine(request, identity, false);
  EXPECT_EQ(silent["entryPoint"], "provideCredentialWithoutUserInteractionForRequest:");
  EXPECT_EQ(silent["request"], (json{{"class", "ASPasskeyCredentialRequest"},
                                     {"credentialIdentity",
                                      {{"relyingPartyIdentifier", "example.com"},
                                       {"userName", "bob"},
                                       {"userHandle", "Ym9i"},
                                       {"credentialID", "AQID"}}},
                                     {"clientDataHash", hashOf(request.clientDataJSON)},
                                     {"userVerificationPreference", "discouraged"}}));
  const json interactive = assertionLine(request, identity, true);
  EXPECT_EQ(interactive["entryPoint"], "prepareInterfaceToProvideCredentialForRequest:");
  EXPECT_EQ(interactive["request"], silent["request"]);
  EXPECT_TRUE(parseCall(silent.dump()));
}

TEST(BrowserRequest, ForAnyPasskeyBecomesAList) {
  const BrowserRequest request = parsed(signInMessage(
      {{"allowCredentials", {{{"id", "AQID"}, {"type", "public-key"}}, {{"id", "BA"}}}}}));
  const json line = credentialListLine(request);
  EXPECT_EQ(line["entryPoint"], "prepareCredentialListForServiceIdentifiers:requestParameters:");
  EXPECT_EQ(line["serviceIdentifiers"], json::array());
  EXPECT_EQ(line["requestParameters"], (json{{"relyingPartyIdentifier", "example.com"},
                                             {"clientDataHash", hashOf(request.clientDataJSON)},
                                             {"userVerificationPreference", "preferred"},
                                             {"allowedCredentials", {"AQID", "BA"}}}));
  EXPECT_TRUE(parseCall(line.dump()));
}

TEST(BrowserRequest, WithoutWishesPrefersVerification) {
  json message = signInMessage();
  message["details"].erase("userVerification");
  EXPECT_EQ(credentialListLine(parsed(message))["requestParameters"]["userVerificationPreference"],
            "preferred");
}

TEST(BrowserRequest, ForASignalBecomesTheReport) {
  const std::vector<std::pair<json, json>> rows = {
      {reportMessage("signalUnknownCredential",
                     {{"rpId", "example.com"}, {"credentialId", "AQID"}}),
       {{"entryPoint", "reportUnknownPublicKeyCredentialForRelyingParty:credentialID:"},
        {"relyingParty", "example.com"},
        {"credentialID", "AQID"}}},
      {reportMessage("signalAllAcceptedCredentials",
                     {{"rpId", "example.com"},
                      {"userId", "Ym9i"},
                      {"allAcceptedCredentialIds", {"AQID", "BA"}}}),
       {{"entryPoint",
         "reportAllAcceptedPublicKeyCredentialsForRelyingParty:userHandle:acceptedCredentialIDs:"},
        {"relyingParty", "example.com"},
        {"userHandle", "Ym9i"},
        {"acceptedCredentialIDs", {"AQID", "BA"}}}},
      {reportMessage(
           "signalCurrentUserDetails",
           {{"rpId", "example.com"}, {"userId", "Ym9i"}, {"name", "rob"}, {"displayName", "Rob"}}),
       {{"entryPoint", "reportPublicKeyCredentialUpdateForRelyingParty:userHandle:newName:"},
        {"relyingParty", "example.com"},
        {"userHandle", "Ym9i"},
        {"newName", "rob"}}}};
  for (const auto& [message, line] : rows) {
    EXPECT_EQ(reportLine(parsed(message)), line);
    EXPECT_TRUE(parseCall(line.dump()));
  }
}

TEST(BrowserRequest, ForAnUnknownSignalIsRefused) {
  EXPECT_THAT([] { return reportLine(parsed(reportMessage("signalNothing", json::object()))); },
              testing::ThrowsMessage<InvalidLine>(HasSubstr("method is \"signalNothing\"")));
}

TEST(BrowserRequest, ForTheConfigurationHasNoPage) {
  const BrowserRequest request = parsed({{"kind", "configure"}});
  EXPECT_EQ(request.origin, "");
  EXPECT_EQ(configurationLine(),
            (json{{"entryPoint", "prepareInterfaceForExtensionConfiguration"}}));
}

TEST(BrowserRequest, NamesThePlaceOfWhatIsWrongInItsDetails) {
  const std::vector<std::pair<json, std::string>> rows = {
      {{{"user", nullptr}}, "details.user is missing"},
      {{{"rp", {{"id", 1}}}}, "details.rp.id is a number"},
      {{{"excludeCredentials", {{{"id", true}}}}},
       "details.excludeCredentials[0].id is a boolean"}};
  for (const auto& [details, words] : rows) {
    const BrowserRequest request = parsed(creationMessage(details));
    EXPECT_THAT([&] { return registrationLine(request); },
                testing::ThrowsMessage<InvalidLine>(HasSubstr(words)));
  }
}

TEST(BrowserRequest, ForAPasskeyOnAnotherDeviceIsNotForTheExtension) {
  const auto flawOf = [](const char* attachment) {
    return flawForPlatform(parsed(
        creationMessage({{"authenticatorSelection", {{"authenticatorAttachment", attachment}}}})));
  };
  EXPECT_TRUE(flawOf("cross-platform").has_value());
  EXPECT_FALSE(flawOf("platform").has_value());
  EXPECT_FALSE(flawForPlatform(parsed(creationMessage())).has_value());
  EXPECT_FALSE(flawForPlatform(parsed(signInMessage())).has_value());
}

}  // namespace
}  // namespace korvan::lab
