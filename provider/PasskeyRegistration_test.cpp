#include "provider/ControllerFixture_testing.h"

namespace korvan {
namespace {

class PasskeyRegistration : public ControllerFixture {
 protected:
  static ProviderMessage successfulAnswer() {
    return {{"ok", true},
            {"relyingPartyIdentifier", "answer.example"},
            {"clientDataHash", bytes("the hash")},
            {"credentialID", bytes("the ID")},
            {"attestationObject", bytes("the object")}};
  }

  static ProviderMessage expectedRequest(bool interactive) {
    return {{"type", "registration"},
            {"recordIdentifier", "record 7"},
            {"relyingPartyIdentifier", "example.com"},
            {"userName", "alice"},
            {"userHandle", bytes("handle")},
            {"clientDataHash", bytes("hash of the request")},
            {"supportedAlgorithms", PropertyListValue::Array{-7, -257}},
            {"excludedCredentials", PropertyListValue::Array{}},
            {"userVerificationPreference", "required"},
            {"allowsUserInteraction", interactive},
            {"conditional", !interactive}};
  }

  static std::shared_ptr<PasskeyCredentialRequest> excluding(
      std::optional<PasskeyCredentialRequest::Descriptors> descriptors) {
    auto request = passkeyRequest();
    request->excludedCredentials = [descriptors = std::move(descriptors)] { return descriptors; };
    return request;
  }

  ProviderMessage interactiveRequest(const PasskeyCredentialRequest* request) {
    const bool allowsUserInteraction = true;
    const bool conditional = false;
    return controller->registrationRequestDictionary(request, allowsUserInteraction, conditional);
  }

  PropertyListValue excludedFor(const PasskeyCredentialRequest& request) {
    return *valueForKey(interactiveRequest(&request), "excludedCredentials");
  }
};

TEST_F(PasskeyRegistration, BothFlowsSendElevenEntriesAndTheSilentOneIsConditional) {
  hostAnswers(successfulAnswer());
  controller->prepareInterfaceForPasskeyRegistration(passkeyRequest());
  controller->performPasskeyRegistrationWithoutUserInteractionIfPossible(passkeyRequest());
  runAll();
  EXPECT_EQ(platform->requests, (std::vector{expectedRequest(true), expectedRequest(false)}));
}

TEST_F(PasskeyRegistration, RequestWithoutAnyFieldSendsEmptyValuesAndThePreferredLevel) {
  const ProviderMessage expected{{"type", "registration"},
                                 {"recordIdentifier", ""},
                                 {"relyingPartyIdentifier", ""},
                                 {"userName", ""},
                                 {"userHandle", Data()},
                                 {"clientDataHash", Data()},
                                 {"supportedAlgorithms", PropertyListValue::Array{}},
                                 {"excludedCredentials", PropertyListValue::Array{}},
                                 {"userVerificationPreference", "preferred"},
                                 {"allowsUserInteraction", true},
                                 {"conditional", false}};
  PasskeyCredentialRequest request;
  EXPECT_EQ(interactiveRequest(&request), expected);
  request.credentialIdentity = PasskeyCredentialIdentity();
  EXPECT_EQ(interactiveRequest(&request), expected);
  EXPECT_EQ(interactiveRequest(nullptr), expected);
}

TEST_F(PasskeyRegistration, SilentFlowWithoutARequestSendsEmptyValues) {
  hostAnswers(successfulAnswer());
  controller->performPasskeyRegistrationWithoutUserInteractionIfPossible(nullptr);
  runAll();
  const bool allowsUserInteraction = false;
  const bool conditional = true;
  EXPECT_EQ(sentRequest(),
            controller->registrationRequestDictionary(nullptr, allowsUserInteraction, conditional));
}

TEST_F(PasskeyRegistration, PreferredVerificationIsTheSystemsWord) {
  platform->operatingSystem.preferred = "the system's word";
  EXPECT_EQ(*valueForKey(interactiveRequest(nullptr), "userVerificationPreference"),
            "the system's word");
}

TEST_F(PasskeyRegistration, SupportedAlgorithmsKeepTheirOrder) {
  const auto request = passkeyRequest();
  request->supportedAlgorithms = PropertyListValue::Array{-257, -7, -8, -7};
  EXPECT_EQ(*valueForKey(interactiveRequest(request.get()), "supportedAlgorithms"),
            PropertyListValue(PropertyListValue::Array{-257, -7, -8, -7}));
}

TEST_F(PasskeyRegistration, ExcludedCredentialsKeepTheirOrderAndSkipThoseWithoutAnID) {
  const auto request = excluding({{{bytes("A")}, {std::nullopt}, {Data()}, {bytes("B")}}});
  EXPECT_EQ(excludedFor(*request),
            PropertyListValue(PropertyListValue::Array{bytes("A"), Data(), bytes("B")}));
}

TEST_F(PasskeyRegistration, NoExcludedCredentialsIsAnEmptyArray) {
  EXPECT_EQ(excludedFor(*excluding(std::nullopt)), PropertyListValue(PropertyListValue::Array{}));
}

TEST_F(PasskeyRegistration, BeforeMacOS15ExcludedCredentialsAreEmptyAndNeverRead) {
  platform->operatingSystem.version = {.major = 14, .minor = 99, .patch = 99};
  bool read = false;
  const auto request = passkeyRequest();
  request->excludedCredentials = [&read] {
    read = true;
    return PasskeyCredentialRequest::Descriptors{{bytes("A")}};
  };
  EXPECT_EQ(excludedFor(*request), PropertyListValue(PropertyListValue::Array{}));
  EXPECT_FALSE(read);
}

TEST_F(PasskeyRegistration, VersionIsAskedForAfreshAtEachRequest) {
  const auto request = excluding({{{bytes("A")}}});
  static_cast<void>(excludedFor(*request));
  static_cast<void>(excludedFor(*request));
  const OperatingSystemVersion macOS15{.major = 15, .minor = 0, .patch = 0};
  EXPECT_EQ(platform->operatingSystem.questions,
            (std::vector<OperatingSystemVersion>{macOS15, macOS15}));
}

TEST_F(PasskeyRegistration, BuilderReadsOnlyItsArgument) {
  controller->setRegistrationRequest(passkeyRequest());
  controller->setCredentialRequest(passkeyRequest());
  controller->setRequestParameters(requestParameters());
  const auto request = interactiveRequest(nullptr);
  EXPECT_EQ(*valueForKey(request, "relyingPartyIdentifier"), "");
  EXPECT_EQ(*valueForKey(request, "clientDataHash"), Data());
}

TEST_F(PasskeyRegistration, BothFlowsCompleteWithExactlyTheAnswersFourValues) {
  hostAnswers(successfulAnswer());
  controller->prepareInterfaceForPasskeyRegistration(passkeyRequest());
  controller->performPasskeyRegistrationWithoutUserInteractionIfPossible(passkeyRequest());
  runAll();
  const FakeExtensionContext::Ending expected =
      PasskeyRegistrationCredential{.relyingParty = "answer.example",
                                    .clientDataHash = bytes("the hash"),
                                    .credentialID = bytes("the ID"),
                                    .attestationObject = bytes("the object")};
  EXPECT_TRUE(platform->extensionContext.endings == std::vector(2, expected));
}

TEST_F(PasskeyRegistration, ValuesThatTheHostLeftOutArePassedOnAsAbsent) {
  hostAnswers({{"ok", true}});
  controller->prepareInterfaceForPasskeyRegistration(passkeyRequest());
  runAll();
  expectEnding(PasskeyRegistrationCredential());
}

TEST_F(PasskeyRegistration, MatchedExcludedCredentialIsCanceledWithItsCode) {
  hostAnswers(failureResponse("matchedExcludedCredential", "You have one."));
  controller->prepareInterfaceForPasskeyRegistration(passkeyRequest());
  runAll();
  expectEnding(cancellation(102, "You have one."));
}

TEST_F(PasskeyRegistration, MatchedExcludedCredentialIsFailedBeforeMacOS15) {
  platform->operatingSystem.version = {.major = 14, .minor = 6, .patch = 1};
  hostAnswers(failureResponse("matchedExcludedCredential", "You have one."));
  controller->performPasskeyRegistrationWithoutUserInteractionIfPossible(passkeyRequest());
  runAll();
  expectEnding(cancellation(0, "You have one."));
}

TEST_F(PasskeyRegistration, SilentFlowNeverOpensTheHost) {
  platform->localSockets.peer = FakePlatform::refusing();
  controller->performPasskeyRegistrationWithoutUserInteractionIfPossible(passkeyRequest());
  runAll();
  EXPECT_TRUE(platform->workspace.openedURLs.empty());
}

TEST_F(PasskeyRegistration, InteractiveFlowOpensTheHost) {
  platform->localSockets.peer = FakePlatform::refusing();
  platform->workspace.opens = false;
  controller->prepareInterfaceForPasskeyRegistration(passkeyRequest());
  runAll();
  EXPECT_EQ(platform->workspace.openedURLs.size(), 1U);
  EXPECT_EQ(platform->views.shown(), std::vector<std::string>{"stack 1"});
}

}  // namespace
}  // namespace korvan
