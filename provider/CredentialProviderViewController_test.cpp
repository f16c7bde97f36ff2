#include "provider/CredentialProviderViewController.h"

#include "provider/ControllerFixture_testing.h"

namespace korvan {
namespace {

/// Records, in order, the messages that the controller sends itself.
class RecordingController : public CredentialProviderViewController {
 public:
  using CredentialProviderViewController::CredentialProviderViewController;

  void setRequestParameters(RequestParameters value) override {
    messages.emplace_back(value ? "requestParameters := given" : "requestParameters := nil");
    CredentialProviderViewController::setRequestParameters(std::move(value));
  }
  void setCredentialRequest(PasskeyRequest value) override {
    messages.emplace_back(value ? "credentialRequest := given" : "credentialRequest := nil");
    CredentialProviderViewController::setCredentialRequest(std::move(value));
  }
  void setRegistrationRequest(PasskeyRequest value) override {
    messages.emplace_back(value ? "registrationRequest := given" : "registrationRequest := nil");
    CredentialProviderViewController::setRegistrationRequest(std::move(value));
  }
  void requestInteractiveAssertion() override {
    messages.emplace_back("requestInteractiveAssertion");
    CredentialProviderViewController::requestInteractiveAssertion();
  }
  void requestInteractiveRegistration() override {
    messages.emplace_back("requestInteractiveRegistration");
    CredentialProviderViewController::requestInteractiveRegistration();
  }
  void requestConfigurationSynchronization() override {
    messages.emplace_back("requestConfigurationSynchronization");
    CredentialProviderViewController::requestConfigurationSynchronization();
  }
  void sendCredentialUpdate(ProviderMessage request) override {
    messages.emplace_back("sendCredentialUpdate");
    CredentialProviderViewController::sendCredentialUpdate(std::move(request));
  }
  ProviderMessage assertionRequestForRecord(const ProviderMessage& record,
                                            bool allowsUserInteraction,
                                            bool interactive) const override {
    records.push_back(record);
    return CredentialProviderViewController::assertionRequestForRecord(
        record, allowsUserInteraction, interactive);
  }
  void performRequest(ProviderMessage request, ProviderCompletion completion) override {
    const auto text = [&](std::string_view key) { return stringForKey(request, key).value_or(""); };
    messages.push_back("performRequest " + text("type") +
                       (booleanForKey(request, "allowsUserInteraction") ? " interaction" : "") +
                       (booleanForKey(request, "conditional") ? " conditional" : "") +
                       (completion ? "" : " without completion"));
    CredentialProviderViewController::performRequest(std::move(request), std::move(completion));
  }
  void completeAssertionWithResponse(const ProviderMessage& response) override {
    messages.emplace_back("completeAssertionWithResponse");
    CredentialProviderViewController::completeAssertionWithResponse(response);
  }
  void completeRegistrationWithResponse(const ProviderMessage& response) override {
    messages.emplace_back("completeRegistrationWithResponse");
    CredentialProviderViewController::completeRegistrationWithResponse(response);
  }
  void cancelForResponse(const ProviderMessage& response) override {
    messages.emplace_back("cancelForResponse");
    CredentialProviderViewController::cancelForResponse(response);
  }

  std::vector<std::string> messages;
  /// The records that assertion requests were built for.
  mutable std::vector<ProviderMessage> records;
};

class ControllerClass : public ControllerFixture {
 protected:
  using Messages = std::vector<std::string>;

  /// Of each flow, the last message that the controller sends itself.
  Messages lastMessagesOfFlows() {
    Messages last;
    const auto addLast = [&] {
      runAll();
      last.push_back(controller->messages.back());
    };
    controller->prepareCredentialListForServiceIdentifiers({}, requestParameters());
    addLast();
    controller->prepareInterfaceToProvideCredentialForRequest(passkeyRequest());
    addLast();
    controller->provideCredentialWithoutUserInteractionForRequest(passkeyRequest());
    addLast();
    controller->prepareInterfaceForPasskeyRegistration(passkeyRequest());
    addLast();
    controller->performPasskeyRegistrationWithoutUserInteractionIfPossible(passkeyRequest());
    addLast();
    controller->prepareInterfaceForExtensionConfiguration();
    addLast();
    return last;
  }

  std::shared_ptr<RecordingController> controller =
      std::make_shared<RecordingController>(platform->services());
};

// The properties.

TEST_F(ControllerClass, PropertiesAreNilAtFirst) {
  EXPECT_EQ(controller->requestParameters(), nullptr);
  EXPECT_EQ(controller->credentialRequest(), nullptr);
  EXPECT_EQ(controller->registrationRequest(), nullptr);
  EXPECT_EQ(controller->pendingUnavailableResponse(), std::nullopt);
}

TEST_F(ControllerClass, PropertiesHoldWhatIsSetAndReleaseWhatWasThere) {
  auto request = passkeyRequest();
  const std::weak_ptr<PasskeyCredentialRequest> first = request;
  controller->setCredentialRequest(request);
  EXPECT_EQ(controller->credentialRequest(), request);
  request.reset();
  EXPECT_FALSE(first.expired());
  controller->setCredentialRequest(passkeyRequest());
  EXPECT_TRUE(first.expired());

  const auto parameters = requestParameters();
  controller->setRequestParameters(parameters);
  EXPECT_EQ(controller->requestParameters(), parameters);
  const auto registration = passkeyRequest();
  controller->setRegistrationRequest(registration);
  EXPECT_EQ(controller->registrationRequest(), registration);
  const ProviderMessage response = failureResponse("failed", "why");
  controller->setPendingUnavailableResponse(response);
  EXPECT_EQ(controller->pendingUnavailableResponse(), response);
}

TEST_F(ControllerClass, PropertiesAreReleasedWithTheController) {
  const auto request = passkeyRequest();
  const auto parameters = requestParameters();
  controller->setCredentialRequest(request);
  controller->setRegistrationRequest(request);
  controller->setRequestParameters(parameters);
  controller.reset();
  EXPECT_EQ(request.use_count(), 1);
  EXPECT_EQ(parameters.use_count(), 1);
}

// The entry points: what is checked, what is set in which order, and what is sent.

TEST_F(ControllerClass, ConfigurationClearsAllRequestsAndSynchronizes) {
  controller->prepareInterfaceForExtensionConfiguration();
  EXPECT_EQ(controller->messages,
            (Messages{"requestParameters := nil", "credentialRequest := nil",
                      "registrationRequest := nil", "requestConfigurationSynchronization",
                      "performRequest synchronize interaction"}));
}

TEST_F(ControllerClass, CredentialListKeepsItsParametersClearsTheRestAndIsInteractive) {
  controller->prepareCredentialListForServiceIdentifiers({"ignored"}, requestParameters());
  EXPECT_EQ(controller->messages,
            (Messages{"requestParameters := given", "credentialRequest := nil",
                      "registrationRequest := nil", "requestInteractiveAssertion",
                      "performRequest interactiveAssertion interaction"}));
}

TEST_F(ControllerClass, SilentAssertionKeepsItsRequestAndLeavesTheRegistrationAlone) {
  const auto registration = passkeyRequest();
  controller->setRegistrationRequest(registration);
  controller->setRequestParameters(requestParameters());
  controller->messages.clear();
  controller->provideCredentialWithoutUserInteractionForRequest(passkeyRequest());
  EXPECT_EQ(controller->messages,
            (Messages{"requestParameters := nil", "credentialRequest := given",
                      "performRequest assertion"}));
  EXPECT_EQ(controller->registrationRequest(), registration);
}

TEST_F(ControllerClass, InteractiveAssertionKeepsItsRequestAndClearsTheRest) {
  controller->prepareInterfaceToProvideCredentialForRequest(passkeyRequest());
  EXPECT_EQ(controller->messages,
            (Messages{"requestParameters := nil", "registrationRequest := nil",
                      "credentialRequest := given", "requestInteractiveAssertion",
                      "performRequest interactiveAssertion interaction"}));
}

TEST_F(ControllerClass, AssertionsAreBuiltForARecordOfTheRequestAndAListsForAnEmptyOne) {
  const ProviderMessage record{{"credentialID", bytes("credential")},
                               {"recordIdentifier", "record 7"}};
  controller->provideCredentialWithoutUserInteractionForRequest(passkeyRequest());
  controller->prepareInterfaceToProvideCredentialForRequest(passkeyRequest());
  controller->prepareCredentialListForServiceIdentifiers({}, requestParameters());
  EXPECT_EQ(controller->records, (std::vector{record, record, ProviderMessage()}));
}

TEST_F(ControllerClass, InteractiveRegistrationKeepsItsRequestAndClearsTheRest) {
  controller->prepareInterfaceForPasskeyRegistration(passkeyRequest());
  EXPECT_EQ(controller->messages,
            (Messages{"requestParameters := nil", "credentialRequest := nil",
                      "registrationRequest := given", "requestInteractiveRegistration",
                      "performRequest registration interaction"}));
}

TEST_F(ControllerClass, SilentRegistrationSetsNoProperty) {
  controller->performPasskeyRegistrationWithoutUserInteractionIfPossible(passkeyRequest());
  EXPECT_EQ(controller->messages, Messages{"performRequest registration conditional"});
  EXPECT_EQ(controller->registrationRequest(), nullptr);
}

TEST_F(ControllerClass, SilentRegistrationKeepsWhatThePropertiesHeld) {
  const auto registration = passkeyRequest();
  const auto credential = passkeyRequest();
  const auto parameters = requestParameters();
  controller->setRegistrationRequest(registration);
  controller->setCredentialRequest(credential);
  controller->setRequestParameters(parameters);
  controller->performPasskeyRegistrationWithoutUserInteractionIfPossible(passkeyRequest());
  EXPECT_EQ(controller->registrationRequest(), registration);
  EXPECT_EQ(controller->credentialRequest(), credential);
  EXPECT_EQ(controller->requestParameters(), parameters);
}

TEST_F(ControllerClass, ReportsSetNoPropertyAndWaitForNoAnswer) {
  controller->reportPublicKeyCredentialUpdateForRelyingParty("rp", bytes("u"), "name");
  controller->reportUnknownPublicKeyCredentialForRelyingParty("rp", bytes("c"));
  controller->reportAllAcceptedPublicKeyCredentialsForRelyingParty("rp", bytes("u"),
                                                                   PropertyListValue::Array());
  EXPECT_EQ(
      controller->messages,
      (Messages{"sendCredentialUpdate", "performRequest updateUserName without completion",
                "sendCredentialUpdate", "performRequest removeUnknownCredential without completion",
                "sendCredentialUpdate", "performRequest acceptedCredentials without completion"}));
}

TEST_F(ControllerClass, RequestThatIsNotForAPasskeyIsRejectedAndChangesNothing) {
  struct Row {
    void (CredentialProviderViewController::*entryPoint)(
        CredentialProviderViewController::AnyRequest);
    std::int64_t code;
  };
  using Controller = CredentialProviderViewController;
  for (const Row& row : {Row{&Controller::provideCredentialWithoutUserInteractionForRequest, 101},
                         Row{&Controller::prepareInterfaceToProvideCredentialForRequest, 101},
                         Row{&Controller::prepareInterfaceForPasskeyRegistration, 0}}) {
    for (const auto& request :
         {Controller::AnyRequest(std::make_shared<PasswordRequest>()), Controller::AnyRequest()}) {
      platform->extensionContext.endings.clear();
      (controller.get()->*row.entryPoint)(request);
      expectEnding(rejected(row.code));
      EXPECT_TRUE(controller->messages.empty());
      expectNothingSent();
    }
  }
}

// The completions.

TEST_F(ControllerClass, FlowsJudgeTheAnswerByOkAlone) {
  const auto ok = [](const PropertyListValue& value) { return ProviderMessage{{"ok", value}}; };
  const PropertyListValue::Array array{true};
  for (const auto& [answer, succeeds] : {std::pair(ok(true), true),
                                         {ok(1), true},
                                         {ok(false), false},
                                         {ok(0), false},
                                         {ok("true"), false},
                                         {ok(array), false},
                                         {ProviderMessage(), false}}) {
    hostAnswers(answer);
    controller->provideCredentialWithoutUserInteractionForRequest(passkeyRequest());
    runAll();
    EXPECT_EQ(controller->messages.back(),
              succeeds ? "completeAssertionWithResponse" : "cancelForResponse");
  }
}

TEST_F(ControllerClass, EveryFlowCompletesWithItsOwnMethod) {
  const std::string assertion = "completeAssertionWithResponse";
  const std::string registration = "completeRegistrationWithResponse";
  hostAnswers({{"ok", true}});
  EXPECT_EQ(lastMessagesOfFlows(),
            (Messages{assertion, assertion, assertion, registration, registration,
                      "performRequest synchronize interaction"}));
  EXPECT_TRUE(platform->extensionContext.endings.back() ==
              FakeExtensionContext::Ending(FakeExtensionContext::ConfigurationCompleted()));
}

TEST_F(ControllerClass, EveryFlowHandsAFailureToCancelForResponse) {
  hostAnswers({{"ok", false}});
  EXPECT_EQ(lastMessagesOfFlows(), Messages(6, "cancelForResponse"));
  EXPECT_EQ(platform->extensionContext.endings.size(), 6U);
}

TEST_F(ControllerClass, EarlyFailureEndsTheRequestBeforeTheEntryPointReturns) {
  platform->appGroupContainers.path = std::nullopt;
  controller->provideCredentialWithoutUserInteractionForRequest(passkeyRequest());
  expectEnding(cancellation(0, "The Korvan App Group is unavailable."));
  EXPECT_EQ(platform->queues.waitingInBackground() + platform->queues.waitingOnMain(), 0U);
}

TEST_F(ControllerClass, RequestOnItsWayKeepsTheControllerAlive) {
  hostAnswers({{"ok", true}});
  controller->provideCredentialWithoutUserInteractionForRequest(passkeyRequest());
  const std::weak_ptr<RecordingController> alive = controller;
  controller.reset();
  EXPECT_FALSE(alive.expired());
  runAll();
  EXPECT_TRUE(alive.expired());
  EXPECT_EQ(platform->extensionContext.endings.size(), 1U);
}

TEST_F(ControllerClass, OneMessageIsSentForOneEntryPoint) {
  platform->localSockets.peer = FakePlatform::refusing();
  platform->workspace.running = 1;
  controller->prepareInterfaceToProvideCredentialForRequest(passkeyRequest());
  runAll();
  EXPECT_EQ(platform->localSockets.connections.size(), 1U);
  EXPECT_EQ(platform->extensionContext.endings.size(), 1U);
}

}  // namespace
}  // namespace korvan
