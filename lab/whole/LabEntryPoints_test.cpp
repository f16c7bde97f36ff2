// Every entry point through `korvan-lab call`, with real hosts: what the host is sent, what the
// platform is told, and how a refusal ends.

#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "lab/processes/Program_testing.h"
#include "lab/processes/Stage.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab {
namespace {

using nlohmann::json;

constexpr const char* ClientDataHash = "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8";

class LabEntryPoints : public testing::Test {
 protected:
  void startHost(const std::vector<std::string>& arguments = {}) {
    host_ = &stage_.startHost(KORVAN_SAMPLE_HOST, arguments);
    passkey_ = host_->nextEvent().at("passkeys").at(0);
  }

  /// The answer to one call, with the messages.
  [[nodiscard]] json answer(const json& line) const {
    const auto result = runLab({"call", "--container", stage_.container(), "--host-application",
                                "none", "--show-messages"},
                               line.dump() + "\n");
    EXPECT_EQ(result.status, 0) << result.errors;
    return json::parse(result.output);
  }

  /// One good call of each of the entry points that end a request.
  [[nodiscard]] std::vector<std::pair<json, std::string>> requests() const {
    const json identity = {
        {"relyingPartyIdentifier", "example.com"}, {"userName", "bob"}, {"userHandle", "Ym9i"}};
    const json request = {{"class", "ASPasskeyCredentialRequest"},
                          {"credentialIdentity", identity},
                          {"clientDataHash", ClientDataHash},
                          {"supportedAlgorithms", {-7}}};
    const auto call = [&request](const char* entryPoint) {
      return json{{"entryPoint", entryPoint}, {"request", request}};
    };
    return {
        {call("provideCredentialWithoutUserInteractionForRequest:"), "completedAssertion"},
        {call("prepareInterfaceToProvideCredentialForRequest:"), "completedAssertion"},
        {{{"entryPoint", "prepareCredentialListForServiceIdentifiers:requestParameters:"},
          {"requestParameters",
           {{"relyingPartyIdentifier", "example.com"}, {"clientDataHash", ClientDataHash}}}},
         "completedAssertion"},
        {call("prepareInterfaceForPasskeyRegistration:"), "completedRegistration"},
        {call("performPasskeyRegistrationWithoutUserInteractionIfPossible:"),
         "completedRegistration"},
        {{{"entryPoint", "prepareInterfaceForExtensionConfiguration"}}, "completedConfiguration"}};
  }

  /// One good call of each report, and the type of the message that it becomes.
  [[nodiscard]] std::vector<std::pair<json, std::string>> reports() const {
    return {{{{"entryPoint", "reportPublicKeyCredentialUpdateForRelyingParty:userHandle:newName:"},
              {"relyingParty", "example.com"},
              {"userHandle", "Ym9i"},
              {"newName", "bob the second"}},
             "updateUserName"},
            {{{"entryPoint", "reportUnknownPublicKeyCredentialForRelyingParty:credentialID:"},
              {"relyingParty", "example.com"},
              {"credentialID", "AQ"}},
             "removeUnknownCredential"},
            {{{"entryPoint",
               "reportAllAcceptedPublicKeyCredentialsForRelyingParty:userHandle:"
               "acceptedCredentialIDs:"},
              {"relyingParty", "example.com"},
              {"userHandle", "Ym9i"},
              {"acceptedCredentialIDs", {"AQ", "Ag"}}},
             "acceptedCredentials"}};
  }

  TemporaryDirectory directory_;
  Stage stage_{directory_.path()};
  SampleHostProcess* host_ = nullptr;
  json passkey_;
};

TEST_F(LabEntryPoints, CompleteWhatTheHostAnswers) {
  startHost();
  for (const auto& [call, outcome] : requests()) {
    const json line = answer(call);
    EXPECT_EQ(line.at("outcome"), outcome) << line;
    EXPECT_EQ(line.at("messages").size(), 2U);
    EXPECT_EQ(line.at("messages").back().at("message").at("ok"), true);
    EXPECT_GT(line.at("milliseconds"), 0);
    if (outcome != "completedConfiguration") {
      EXPECT_EQ(line.at("credential").at("relyingParty"), "example.com");
      EXPECT_EQ(line.at("credential").at("clientDataHash"), ClientDataHash);
    }
    if (outcome == "completedAssertion") {
      EXPECT_EQ(line.at("credential").at("credentialID"), passkey_.at("credentialID"));
      EXPECT_EQ(line.at("credential").at("userHandle"), passkey_.at("userHandle"));
    } else if (outcome == "completedRegistration") {
      EXPECT_TRUE(line.at("credential").at("attestationObject").is_string());
    }
  }
}

TEST_F(LabEntryPoints, CancelWhatTheHostRefuses) {
  startHost({"--locked", "--user-cancels"});
  for (const auto& [call, outcome] : requests()) {
    const json line = answer(call);
    const json& message = line.at("messages").at(0).at("message");
    ASSERT_EQ(line.at("outcome"), "cancelled") << line;
    EXPECT_EQ(line.at("error").at("code"),
              message.at("allowsUserInteraction").get<bool>() ? 1 : 100);
    EXPECT_EQ(line.at("noticeShown"), false);
  }
}

TEST_F(LabEntryPoints, ShowTheNoticeWithoutAHostWhereTheUserMayTakePart) {
  for (const auto& [call, outcome] : requests()) {
    const json line = answer(call);
    const std::string entryPoint = call.at("entryPoint");
    ASSERT_EQ(line.at("outcome"), "cancelled") << line;
    EXPECT_EQ(line.at("error").at("code"), 0);
    EXPECT_EQ(line.at("noticeShown"), entryPoint.find("WithoutUser") == std::string::npos);
    EXPECT_EQ(line.at("messages"), json::array());
  }
}

TEST_F(LabEntryPoints, ReportsReachTheHostAndReturn) {
  startHost();
  for (const auto& [call, type] : reports()) {
    const json line = answer(call);
    EXPECT_EQ(line.at("outcome"), "returned") << line;
    const json& message = line.at("messages").at(0).at("message");
    EXPECT_EQ(message.at("type"), type);
    EXPECT_EQ(message.at("allowsUserInteraction"), false);
    EXPECT_EQ(host_->nextEvent().at("type"), type);
  }
}

TEST_F(LabEntryPoints, ReportsReturnWhateverBecomesOfThem) {
  for (const auto& [call, type] : reports()) {
    EXPECT_EQ(answer(call).at("outcome"), "returned");
  }
  startHost({"--locked"});
  for (const auto& [call, type] : reports()) {
    const json line = answer(call);
    EXPECT_EQ(line.at("outcome"), "returned");
    EXPECT_EQ(line.at("messages").at(1).at("message").at("errorCode"), "vaultLocked");
  }
}

}  // namespace
}  // namespace korvan::lab
