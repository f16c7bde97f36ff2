#include <functional>
#include <stdexcept>
#include <vector>

#include <gmock/gmock.h>

#include "provider/ControllerFixture_testing.h"

namespace korvan {
namespace {

class CredentialUpdateReports : public ControllerFixture {
 protected:
  void reportName() {
    controller->reportPublicKeyCredentialUpdateForRelyingParty("example.com", bytes("handle"),
                                                               "Alice B.");
  }

  /// One valid report of each kind, each to the fixture's controller at the time it runs.
  std::vector<std::function<void()>> allReports() {
    return {[this] { reportName(); },
            [this] {
              controller->reportUnknownPublicKeyCredentialForRelyingParty("example.com",
                                                                          bytes("ID"));
            },
            [this] {
              controller->reportAllAcceptedPublicKeyCredentialsForRelyingParty(
                  "example.com", bytes("handle"), PropertyListValue::Array{bytes("ID")});
            }};
  }

  /// Neither the platform nor the user is told.
  void expectNobodyTold() {
    EXPECT_TRUE(platform->extensionContext.endings.empty());
    EXPECT_TRUE(platform->views.operations.empty());
  }

  /// Expects that the report is refused with an error that names the argument.
  template <typename Report>
  void expectInvalid(std::string_view argument, Report report) {
    EXPECT_THAT(report, testing::ThrowsMessage<std::invalid_argument>(
                            "The argument " + std::string(argument) + " is nil."));
    expectNothingSent();
  }
};

TEST_F(CredentialUpdateReports, UserNameUpdateSendsItsKeys) {
  hostAnswers({});
  reportName();
  runAll();
  EXPECT_EQ(sentRequest(), (ProviderMessage{{"type", "updateUserName"},
                                            {"relyingPartyIdentifier", "example.com"},
                                            {"userHandle", bytes("handle")},
                                            {"userName", "Alice B."},
                                            {"allowsUserInteraction", false}}));
}

TEST_F(CredentialUpdateReports, UnknownCredentialSendsItsKeys) {
  hostAnswers({});
  controller->reportUnknownPublicKeyCredentialForRelyingParty("example.com", bytes("ID"));
  runAll();
  EXPECT_EQ(sentRequest(), (ProviderMessage{{"type", "removeUnknownCredential"},
                                            {"relyingPartyIdentifier", "example.com"},
                                            {"credentialID", bytes("ID")},
                                            {"allowsUserInteraction", false}}));
}

TEST_F(CredentialUpdateReports, AcceptedCredentialsSendTheListAsItIs) {
  hostAnswers({});
  controller->reportAllAcceptedPublicKeyCredentialsForRelyingParty(
      "example.com", bytes("handle"),
      PropertyListValue::Array{bytes("B"), bytes("A"), bytes("B"), Data()});
  runAll();
  EXPECT_EQ(sentRequest(),
            (ProviderMessage{{"type", "acceptedCredentials"},
                             {"relyingPartyIdentifier", "example.com"},
                             {"userHandle", bytes("handle")},
                             {"acceptedCredentialIDs",
                              PropertyListValue::Array{bytes("B"), bytes("A"), bytes("B"), Data()}},
                             {"allowsUserInteraction", false}}));
}

TEST_F(CredentialUpdateReports, EmptyArgumentsAreSentAsTheyAre) {
  hostAnswers({});
  controller->reportPublicKeyCredentialUpdateForRelyingParty("", Data(), "");
  controller->reportAllAcceptedPublicKeyCredentialsForRelyingParty("", Data(),
                                                                   PropertyListValue::Array());
  runAll();
  EXPECT_EQ(platform->requests.at(0).size(), 5U);
  EXPECT_EQ(*valueForKey(platform->requests.at(0), "userName"), "");
  EXPECT_EQ(*valueForKey(platform->requests.at(1), "acceptedCredentialIDs"),
            PropertyListValue(PropertyListValue::Array{}));
}

TEST_F(CredentialUpdateReports, InteractionIsNeverAllowedWhateverTheRequestSays) {
  hostAnswers({});
  controller->sendCredentialUpdate({{"type", "updateUserName"}, {"allowsUserInteraction", true}});
  runAll();
  EXPECT_EQ(*valueForKey(sentRequest(), "allowsUserInteraction"), false);
}

TEST_F(CredentialUpdateReports, EntryPointReturnsBeforeTheExchange) {
  hostAnswers({});
  for (const auto& report : allReports()) {
    report();
    EXPECT_TRUE(platform->localSockets.connections.empty());
    EXPECT_EQ(platform->queues.waitingInBackground(), 1U);
    platform->queues.discard();
  }
}

TEST_F(CredentialUpdateReports, HostThatIsNotRunningIsTriedOnceAndNotOpened) {
  platform->localSockets.peer = FakePlatform::refusing();
  for (const auto& report : allReports()) {
    platform->localSockets.connections.clear();
    report();
    runAll();
    EXPECT_EQ(platform->localSockets.connections.size(), 1U);
  }
  EXPECT_TRUE(platform->workspace.countedIdentifiers.empty());
  EXPECT_TRUE(platform->workspace.openedURLs.empty());
  expectNobodyTold();
}

TEST_F(CredentialUpdateReports, MissingContainerAndARequestThatCannotBeEncodedAreSilent) {
  for (const auto& report : allReports()) {
    platform->appGroupContainers.path = std::nullopt;
    report();
    platform->appGroupContainers.path = "/groups/korvan";
    platform->propertyLists.encodingError = PropertyListError{};
    report();
  }
  runAll();
  expectNothingSent();
  expectNobodyTold();
}

TEST_F(CredentialUpdateReports, WhateverTheHostAnswersChangesNothing) {
  const auto request = passkeyRequest();
  controller->setCredentialRequest(request);
  ProviderMessage demanding = failureResponse("failed", "why");
  demanding.insert_or_assign("showUnavailableUI", true);
  const auto host = [&](const ProviderMessage&) -> PropertyListValue { return demanding; };
  for (const FakePeer& peer : {platform->answering(host), FakePlatform::answeringGarbage()}) {
    platform->localSockets.peer = peer;
    reportName();
    runAll();
  }
  EXPECT_EQ(controller->credentialRequest(), request);
  EXPECT_EQ(controller->requestParameters(), nullptr);
  EXPECT_EQ(controller->registrationRequest(), nullptr);
  EXPECT_EQ(controller->pendingUnavailableResponse(), std::nullopt);
  expectNobodyTold();
}

TEST_F(CredentialUpdateReports, NilArgumentIsAnInvalidArgumentThatIsNamedAndNothingIsSent) {
  const Data some = bytes("x");
  expectInvalid("relyingParty", [&] {
    controller->reportPublicKeyCredentialUpdateForRelyingParty(std::nullopt, some, "n");
  });
  expectInvalid("userHandle", [&] {
    controller->reportPublicKeyCredentialUpdateForRelyingParty("rp", std::nullopt, "n");
  });
  expectInvalid("newName", [&] {
    controller->reportPublicKeyCredentialUpdateForRelyingParty("rp", some, std::nullopt);
  });
  expectInvalid("relyingParty", [&] {
    controller->reportUnknownPublicKeyCredentialForRelyingParty(std::nullopt, some);
  });
  expectInvalid("credentialID", [&] {
    controller->reportUnknownPublicKeyCredentialForRelyingParty("rp", std::nullopt);
  });
  expectInvalid("relyingParty", [&] {
    controller->reportAllAcceptedPublicKeyCredentialsForRelyingParty(std::nullopt, some,
                                                                     PropertyListValue::Array());
  });
  expectInvalid("userHandle", [&] {
    controller->reportAllAcceptedPublicKeyCredentialsForRelyingParty("rp", std::nullopt,
                                                                     PropertyListValue::Array());
  });
  expectInvalid("acceptedCredentialIDs", [&] {
    controller->reportAllAcceptedPublicKeyCredentialsForRelyingParty("rp", some, std::nullopt);
  });
}

TEST_F(CredentialUpdateReports, ReportOutlivesItsController) {
  hostAnswers({});
  reportName();
  controller.reset();
  runAll();
  EXPECT_EQ(platform->requests.size(), 1U);
}

}  // namespace
}  // namespace korvan
