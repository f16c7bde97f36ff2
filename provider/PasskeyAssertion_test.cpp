#include "provider/ControllerFixture_testing.h"

namespace korvan {
namespace {

class PasskeyAssertion : public ControllerFixture {
 protected:
  static ProviderMessage successfulAnswer() {
    return {{"ok", true},
            {"userHandle", bytes("the handle")},
            {"relyingPartyIdentifier", "answer.example"},
            {"signature", bytes("the signature")},
            {"clientDataHash", bytes("the hash")},
            {"authenticatorData", bytes("the data")},
            {"credentialID", bytes("the ID")}};
  }

  ProviderMessage silentRequest(const ProviderMessage& record = {}) {
    const bool allowsUserInteraction = false;
    const bool interactive = false;
    return controller->assertionRequestForRecord(record, allowsUserInteraction, interactive);
  }

  const PropertyListValue& value(const ProviderMessage& message, std::string_view key) {
    const PropertyListValue* const found = valueForKey(message, key);
    EXPECT_NE(found, nullptr) << key;
    static const PropertyListValue none;
    return found != nullptr ? *found : none;
  }
};

// What is sent.

/// The request with these fields and all the others as they are when nothing is said of them.
ProviderMessage expectedRequest(ProviderMessage fields) {
  fields.merge(ProviderMessage{{"recordIdentifier", ""},
                               {"relyingPartyIdentifier", ""},
                               {"credentialID", Data()},
                               {"allowedCredentials", PropertyListValue::Array{}},
                               {"clientDataHash", Data()},
                               {"userVerificationPreference", "preferred"}});
  return fields;
}

TEST_F(PasskeyAssertion, CredentialListSendsItsParametersAndNamesNoCredential) {
  hostAnswers(successfulAnswer());
  controller->prepareCredentialListForServiceIdentifiers({"https://list.example"},
                                                         requestParameters());
  runAll();
  EXPECT_EQ(
      sentRequest(),
      expectedRequest({{"type", "interactiveAssertion"},
                       {"relyingPartyIdentifier", "list.example"},
                       {"allowedCredentials", PropertyListValue::Array{bytes("A"), bytes("B")}},
                       {"clientDataHash", bytes("hash of the list")},
                       {"userVerificationPreference", "discouraged"},
                       {"allowsUserInteraction", true}}));
}

TEST_F(PasskeyAssertion, SilentAndInteractiveRequestsSendTheCredentialAndWhetherTheyMayInteract) {
  hostAnswers(successfulAnswer());
  controller->provideCredentialWithoutUserInteractionForRequest(passkeyRequest());
  controller->prepareInterfaceToProvideCredentialForRequest(passkeyRequest());
  runAll();
  ProviderMessage expected = expectedRequest({{"type", "assertion"},
                                              {"recordIdentifier", "record 7"},
                                              {"relyingPartyIdentifier", "example.com"},
                                              {"credentialID", bytes("credential")},
                                              {"clientDataHash", bytes("hash of the request")},
                                              {"userVerificationPreference", "required"},
                                              {"allowsUserInteraction", false}});
  EXPECT_EQ(platform->requests.at(0), expected);
  expected.insert_or_assign("type", "interactiveAssertion");
  expected.insert_or_assign("allowsUserInteraction", true);
  EXPECT_EQ(platform->requests.at(1), expected);
}

TEST_F(PasskeyAssertion, RequestWithoutAnyFieldSendsEmptyValuesAndThePreferredLevel) {
  hostAnswers(successfulAnswer());
  const ProviderMessage expected =
      expectedRequest({{"type", "assertion"}, {"allowsUserInteraction", false}});
  const auto withIdentity = std::make_shared<PasskeyCredentialRequest>();
  withIdentity->credentialIdentity = PasskeyCredentialIdentity();
  controller->provideCredentialWithoutUserInteractionForRequest(withIdentity);
  controller->provideCredentialWithoutUserInteractionForRequest(
      std::make_shared<PasskeyCredentialRequest>());
  runAll();
  EXPECT_EQ(platform->requests, (std::vector<ProviderMessage>{expected, expected}));
}

TEST_F(PasskeyAssertion, CredentialListWithoutAnyFieldSendsEmptyValuesAndThePreferredLevel) {
  hostAnswers(successfulAnswer());
  controller->prepareCredentialListForServiceIdentifiers(
      {}, std::make_shared<PasskeyCredentialRequestParameters>());
  controller->prepareCredentialListForServiceIdentifiers({}, nullptr);
  runAll();
  const ProviderMessage expected =
      expectedRequest({{"type", "interactiveAssertion"}, {"allowsUserInteraction", true}});
  EXPECT_EQ(platform->requests, (std::vector<ProviderMessage>{expected, expected}));
}

// Where the values come from.

TEST_F(PasskeyAssertion, RecordWinsOverTheIdentity) {
  controller->setCredentialRequest(passkeyRequest());
  const auto request =
      silentRequest({{"recordIdentifier", "another"}, {"credentialID", bytes("other")}});
  EXPECT_EQ(value(request, "recordIdentifier"), "another");
  EXPECT_EQ(value(request, "credentialID"), bytes("other"));
}

TEST_F(PasskeyAssertion, EachEntryThatTheRecordLacksComesFromTheIdentity) {
  controller->setCredentialRequest(passkeyRequest());
  const auto neither = silentRequest();
  EXPECT_EQ(value(neither, "recordIdentifier"), "record 7");
  EXPECT_EQ(value(neither, "credentialID"), bytes("credential"));
  const auto one = silentRequest({{"recordIdentifier", "another"}});
  EXPECT_EQ(value(one, "recordIdentifier"), "another");
  EXPECT_EQ(value(one, "credentialID"), bytes("credential"));
}

TEST_F(PasskeyAssertion, RecordsEntriesAreTakenAsTheyStand) {
  const auto request = silentRequest({{"recordIdentifier", 7}});
  EXPECT_EQ(value(request, "recordIdentifier"), 7);
}

TEST_F(PasskeyAssertion, ParametersWinOverTheRequest) {
  controller->setCredentialRequest(passkeyRequest());
  controller->setRequestParameters(requestParameters());
  const auto request = silentRequest();
  EXPECT_EQ(value(request, "relyingPartyIdentifier"), "list.example");
  EXPECT_EQ(value(request, "clientDataHash"), bytes("hash of the list"));
  EXPECT_EQ(value(request, "userVerificationPreference"), "discouraged");
  EXPECT_EQ(value(request, "recordIdentifier"), "record 7");
}

TEST_F(PasskeyAssertion, FieldThatTheParametersLackIsNotTakenFromTheRequest) {
  controller->setCredentialRequest(passkeyRequest());
  controller->setRequestParameters(std::make_shared<PasskeyCredentialRequestParameters>());
  const auto request = silentRequest();
  EXPECT_EQ(value(request, "relyingPartyIdentifier"), "");
  EXPECT_EQ(value(request, "clientDataHash"), Data());
  EXPECT_EQ(value(request, "userVerificationPreference"), "preferred");
}

TEST_F(PasskeyAssertion, PreferredVerificationIsTheSystemsWord) {
  platform->operatingSystem.preferred = "the system's word";
  EXPECT_EQ(value(silentRequest(), "userVerificationPreference"), "the system's word");
}

TEST_F(PasskeyAssertion, EmptyFieldsAreSentAsTheyAreAndNotReplaced) {
  const auto parameters = std::make_shared<PasskeyCredentialRequestParameters>();
  parameters->userVerificationPreference = "";
  parameters->allowedCredentials = PropertyListValue::Array{Data()};
  controller->setRequestParameters(parameters);
  const auto request = silentRequest();
  EXPECT_EQ(value(request, "userVerificationPreference"), "");
  EXPECT_EQ(value(request, "allowedCredentials"),
            PropertyListValue(PropertyListValue::Array{Data()}));
}

TEST_F(PasskeyAssertion, BuilderTakesTypeAndInteractionFromItsTwoFlags) {
  for (const bool allows : {false, true}) {
    for (const bool interactive : {false, true}) {
      const auto request = controller->assertionRequestForRecord({}, allows, interactive);
      EXPECT_EQ(value(request, "allowsUserInteraction"), allows);
      EXPECT_EQ(value(request, "type"), interactive ? "interactiveAssertion" : "assertion");
    }
  }
}

TEST_F(PasskeyAssertion, ManyAllowedCredentialsKeepTheirOrderAndDuplicates) {
  const auto parameters = requestParameters();
  parameters->allowedCredentials = PropertyListValue::Array{bytes("B"), bytes("A"), bytes("B")};
  controller->setRequestParameters(parameters);
  EXPECT_EQ(value(silentRequest(), "allowedCredentials"),
            PropertyListValue(PropertyListValue::Array{bytes("B"), bytes("A"), bytes("B")}));
}

// What an answer does.

TEST_F(PasskeyAssertion, SuccessfulAnswerCompletesWithExactlyItsSixValues) {
  hostAnswers(successfulAnswer());
  controller->provideCredentialWithoutUserInteractionForRequest(passkeyRequest());
  runAll();
  expectEnding(PasskeyAssertionCredential{.userHandle = bytes("the handle"),
                                          .relyingParty = "answer.example",
                                          .signature = bytes("the signature"),
                                          .clientDataHash = bytes("the hash"),
                                          .authenticatorData = bytes("the data"),
                                          .credentialID = bytes("the ID")});
}

TEST_F(PasskeyAssertion, ValuesThatTheHostLeftOutArePassedOnAsAbsent) {
  hostAnswers({{"ok", true}});
  controller->provideCredentialWithoutUserInteractionForRequest(passkeyRequest());
  runAll();
  expectEnding(PasskeyAssertionCredential());
}

TEST_F(PasskeyAssertion, EmptyValuesArePassedOnAsEmptyNotAsAbsent) {
  hostAnswers({{"ok", true}, {"userHandle", Data()}, {"relyingPartyIdentifier", ""}});
  controller->provideCredentialWithoutUserInteractionForRequest(passkeyRequest());
  runAll();
  PasskeyAssertionCredential expected;
  expected.userHandle = Data();
  expected.relyingParty = "";
  expectEnding(expected);
}

TEST_F(PasskeyAssertion, ValuesOfAnotherTypeCountAsAbsent) {
  hostAnswers({{"ok", true}, {"signature", "text"}, {"relyingPartyIdentifier", bytes("bytes")}});
  controller->provideCredentialWithoutUserInteractionForRequest(passkeyRequest());
  runAll();
  expectEnding(PasskeyAssertionCredential());
}

TEST_F(PasskeyAssertion, FailedAnswerNeverBecomesACredential) {
  ProviderMessage answer = successfulAnswer();
  answer.insert_or_assign("ok", false);
  answer.insert_or_assign("errorCode", "credentialNotFound");
  hostAnswers(answer);
  controller->prepareInterfaceToProvideCredentialForRequest(passkeyRequest());
  runAll();
  expectEnding(cancellation(101, std::nullopt));
}

TEST_F(PasskeyAssertion, SilentFlowNeverOpensTheHost) {
  platform->localSockets.peer = FakePlatform::refusing();
  controller->provideCredentialWithoutUserInteractionForRequest(passkeyRequest());
  runAll();
  EXPECT_TRUE(platform->workspace.openedURLs.empty());
  EXPECT_TRUE(platform->views.operations.empty());
  EXPECT_EQ(platform->extensionContext.endings.size(), 1U);
}

TEST_F(PasskeyAssertion, InteractiveFlowsOpenTheHost) {
  platform->localSockets.peer = FakePlatform::refusing();
  controller->prepareInterfaceToProvideCredentialForRequest(passkeyRequest());
  runAll();
  controller->prepareCredentialListForServiceIdentifiers({}, requestParameters());
  runAll();
  EXPECT_EQ(platform->workspace.openedURLs.size(), 2U);
}

}  // namespace
}  // namespace korvan
