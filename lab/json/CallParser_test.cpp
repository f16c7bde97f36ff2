#include "lab/json/CallParser.h"

#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/support/Bytes_testing.h"
#include "lab/system/RecordingController_testing.h"

namespace korvan::lab {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// The controller after the line's call; the line is one.
std::shared_ptr<RecordingController> called(std::string_view line) {
  const auto call = parseCall(line);
  EXPECT_TRUE(call.has_value()) << line << '\n' << (call ? "" : call.error());
  auto controller = std::make_shared<RecordingController>();
  if (call) {
    call->invoke(*controller);
  }
  return controller;
}

TEST(CallParser, CallsTheEntryPointThatTheSelectorNames) {
  using Row = std::tuple<const char*, const char*, bool>;
  for (const auto& [selector, entryPoint, isReport] :
       {Row{"prepareInterfaceForExtensionConfiguration", "configuration", false},
        Row{"prepareCredentialListForServiceIdentifiers:requestParameters:", "list", false},
        Row{"provideCredentialWithoutUserInteractionForRequest:", "silent assertion", false},
        Row{"prepareInterfaceToProvideCredentialForRequest:", "interactive assertion", false},
        Row{"prepareInterfaceForPasskeyRegistration:", "interactive registration", false},
        Row{"performPasskeyRegistrationWithoutUserInteractionIfPossible:", "silent registration",
            false},
        Row{"reportPublicKeyCredentialUpdateForRelyingParty:userHandle:newName:", "name report",
            true},
        Row{"reportUnknownPublicKeyCredentialForRelyingParty:credentialID:", "unknown report",
            true},
        Row{"reportAllAcceptedPublicKeyCredentialsForRelyingParty:userHandle:"
            "acceptedCredentialIDs:",
            "accepted report", true}}) {
    const std::string line = std::string(R"({"entryPoint":")") + selector + "\"}";
    EXPECT_EQ(called(line)->called, entryPoint);
    EXPECT_EQ(parseCall(line)->isReport, isReport) << selector;
  }
}

TEST(CallParser, HandsOverEveryFieldOfAPasskeyRequest) {
  const auto controller = called(R"({
      "entryPoint":"prepareInterfaceForPasskeyRegistration:",
      "request":{"class":"ASPasskeyCredentialRequest",
        "credentialIdentity":{"recordIdentifier":"r","relyingPartyIdentifier":"example.com",
          "userName":"al\u0000ice","userHandle":"AQ","credentialID":""},
        "clientDataHash":"AQI","userVerificationPreference":"required",
        "supportedAlgorithms":[-7,9223372036854775807],
        "excludedCredentials":[{"credentialID":"Aw"},{},{"credentialID":null}]}})");
  const PasskeyCredentialRequest* const request = controller->passkeyRequest();
  ASSERT_NE(request, nullptr);
  EXPECT_EQ(request->credentialIdentity->recordIdentifier, "r");
  EXPECT_EQ(request->credentialIdentity->relyingPartyIdentifier, "example.com");
  EXPECT_EQ(request->credentialIdentity->userName, std::string("al\0ice", 6));
  EXPECT_EQ(request->credentialIdentity->userHandle, bytes({1}));
  EXPECT_EQ(request->credentialIdentity->credentialID, Data());
  EXPECT_EQ(request->clientDataHash, bytes({1, 2}));
  EXPECT_EQ(request->userVerificationPreference, "required");
  EXPECT_EQ(request->supportedAlgorithms, (PropertyListValue::Array{-7, INT64_MAX}));
  const auto excluded = request->excludedCredentials().value();
  ASSERT_EQ(excluded.size(), 3U);
  EXPECT_EQ(excluded[0].credentialID, bytes({3}));
  EXPECT_EQ(excluded[1].credentialID, std::nullopt);
  EXPECT_EQ(excluded[2].credentialID, std::nullopt);
}

TEST(CallParser, HandsOverAbsentAndNullFieldsAsNil) {
  for (const char* const fields : {"", R"(,"credentialIdentity":null,"clientDataHash":null,
         "userVerificationPreference":null,"supportedAlgorithms":null,"excludedCredentials":null)"}) {
    const auto controller =
        called(std::string(R"({"entryPoint":"prepareInterfaceForPasskeyRegistration:",
                               "request":{"class":"ASPasskeyCredentialRequest")") +
               fields + "}}");
    const PasskeyCredentialRequest* const request = controller->passkeyRequest();
    ASSERT_NE(request, nullptr);
    EXPECT_FALSE(request->credentialIdentity.has_value());
    EXPECT_EQ(request->clientDataHash, std::nullopt);
    EXPECT_EQ(request->userVerificationPreference, std::nullopt);
    EXPECT_EQ(request->supportedAlgorithms, std::nullopt);
    EXPECT_FALSE(request->excludedCredentials().has_value());
  }
}

TEST(CallParser, HandsOverAnIdentityWhoseFieldsAreAllNil) {
  const auto controller = called(R"({
      "entryPoint":"provideCredentialWithoutUserInteractionForRequest:",
      "request":{"class":"ASPasskeyCredentialRequest","credentialIdentity":{}}})");
  ASSERT_TRUE(controller->passkeyRequest()->credentialIdentity.has_value());
  EXPECT_EQ(controller->passkeyRequest()->credentialIdentity->userName, std::nullopt);
}

TEST(CallParser, HandsOverTheRequestParametersOfAList) {
  const auto controller = called(R"({
      "entryPoint":"prepareCredentialListForServiceIdentifiers:requestParameters:",
      "serviceIdentifiers":["https://example.com"],
      "requestParameters":{"relyingPartyIdentifier":"example.com","clientDataHash":"AQ",
        "userVerificationPreference":"discouraged","allowedCredentials":["AQ","Ag"]}})");
  EXPECT_THAT(controller->services, testing::ElementsAre("https://example.com"));
  EXPECT_EQ(controller->parameters->relyingPartyIdentifier, "example.com");
  EXPECT_EQ(controller->parameters->clientDataHash, bytes({1}));
  EXPECT_EQ(controller->parameters->userVerificationPreference, "discouraged");
  EXPECT_EQ(controller->parameters->allowedCredentials,
            (PropertyListValue::Array{bytes({1}), bytes({2})}));
}

TEST(CallParser, HandsOverAbsentRequestParametersAsNull) {
  EXPECT_EQ(
      called(R"({"entryPoint":"prepareCredentialListForServiceIdentifiers:requestParameters:"})")
          ->parameters,
      nullptr);
}

TEST(CallParser, HandsOverAPasswordRequestAsARequestOfAnotherKind) {
  const auto controller = called(R"({
      "entryPoint":"prepareInterfaceToProvideCredentialForRequest:",
      "request":{"class":"ASPasswordCredentialRequest"}})");
  EXPECT_NE(controller->request, nullptr);
  EXPECT_EQ(controller->passkeyRequest(), nullptr);
}

TEST(CallParser, HandsOverAnAbsentOrNullRequestAsNull) {
  for (const char* const request : {"", R"(,"request":null)"}) {
    EXPECT_EQ(called(std::string(R"({"entryPoint":"prepareInterfaceForPasskeyRegistration:")") +
                     request + "}")
                  ->request,
              nullptr);
  }
}

TEST(CallParser, HandsNothingButPasskeyRequestsToTheSilentRegistration) {
  EXPECT_EQ(called(R"({"entryPoint":"performPasskeyRegistrationWithoutUserInteractionIfPossible:",
                       "request":{"class":"ASPasswordCredentialRequest"}})")
                ->request,
            nullptr);
  EXPECT_NE(called(R"({"entryPoint":"performPasskeyRegistrationWithoutUserInteractionIfPossible:",
                       "request":{"class":"ASPasskeyCredentialRequest"}})")
                ->request,
            nullptr);
}

TEST(CallParser, HandsOverTheArgumentsOfReports) {
  auto controller =
      called(R"({"entryPoint":"reportPublicKeyCredentialUpdateForRelyingParty:userHandle:newName:",
                 "relyingParty":"example.com","userHandle":"AQ","newName":""})");
  EXPECT_THAT(controller->texts, testing::ElementsAre("example.com", ""));
  EXPECT_THAT(controller->data, testing::ElementsAre(bytes({1})));
  controller =
      called(R"({"entryPoint":"reportUnknownPublicKeyCredentialForRelyingParty:credentialID:",
                          "relyingParty":"example.com","credentialID":null})");
  EXPECT_THAT(controller->data, testing::ElementsAre(std::nullopt));
  controller = called(
      R"({"entryPoint":"reportAllAcceptedPublicKeyCredentialsForRelyingParty:userHandle:acceptedCredentialIDs:",
          "relyingParty":"example.com","userHandle":"","acceptedCredentialIDs":[]})");
  EXPECT_THAT(controller->data, testing::ElementsAre(Data()));
  EXPECT_EQ(controller->accepted, PropertyListValue::Array());
}

TEST(CallParser, RefusesWhatIsNotACallAndSaysWhy) {
  using Row = std::pair<const char*, const char*>;
  for (
      const auto& [line, reason] : {
          Row{"{", "The line is not JSON, see column 2: "},
          Row{R"({"entryPoint":"a"} x)", "The line is not JSON, see column 20: "},
          Row{"{\"entryPoint\":\"\xff\"}", "The line is not JSON, see column 16: "},
          Row{R"({"entryPoint":-1e999})", "The line has the number -1e999; a number must be "},
          Row{"[]", "The line is JSON of the type array; it must be an object."},
          Row{"null", "The line is JSON of the type null; it must be an object."},
          Row{"{}", "entryPoint is missing; "},
          Row{R"({"entryPoint":null})", "entryPoint is missing; "},
          Row{R"({"entryPoint":7})", "entryPoint is a number; it must be a string."},
          Row{R"({"entryPoint":"prepareInterface"})", R"(entryPoint is "prepareInterface"; )"},
          Row{R"({"entryPoint":"a","entryPoint":"a"})", "The key entryPoint is given twice"},
          Row{R"({"entryPoint":"prepareInterfaceForExtensionConfiguration","request":null})",
              "request is an unknown key; the keys are entryPoint."},
          Row{R"({"entryPoint":"prepareInterfaceForPasskeyRegistration:","request":[]})",
              "request is an array; it must be an object."},
          Row{R"({"entryPoint":"prepareInterfaceForPasskeyRegistration:","request":{}})",
              "request.class is missing; it must be \"ASPasskeyCredentialRequest\" or "},
          Row{R"({"entryPoint":"prepareInterfaceForPasskeyRegistration:","request":{"class":"X"}})",
              "request.class is \"X\"; it must be \"ASPasskeyCredentialRequest\" or "},
          Row{R"({"entryPoint":"prepareInterfaceForPasskeyRegistration:",
                   "request":{"class":"ASPasskeyCredentialRequest","clientdatahash":"AQ"}})",
              "request.clientdatahash is an unknown key; the keys are class, "},
          Row{R"({"entryPoint":"prepareInterfaceForPasskeyRegistration:",
                   "request":{"class":"ASPasskeyCredentialRequest",
                              "credentialIdentity":{"userHandle":"A="}}})",
              "request.credentialIdentity.userHandle is padded with \"=\"; "},
          Row{R"({"entryPoint":"prepareInterfaceForPasskeyRegistration:",
                   "request":{"class":"ASPasskeyCredentialRequest",
                              "credentialIdentity":{"userHandle":"AQ","userHandle":"AQ"}}})",
              "The key userHandle is given twice"},
          Row{R"({"entryPoint":"prepareInterfaceForPasskeyRegistration:",
                   "request":{"class":"ASPasskeyCredentialRequest",
                              "excludedCredentials":[{"credentialID":"AQ"},{"credentialID":2}]}})",
              "request.excludedCredentials[1].credentialID is a number; "},
          Row{R"({"entryPoint":"prepareInterfaceForPasskeyRegistration:",
                   "request":{"class":"ASPasswordCredentialRequest","supportedAlgorithms":[1.5]}})",
              "request.supportedAlgorithms[0] is a number; it must be an integer."},
          Row{R"({"entryPoint":"prepareCredentialListForServiceIdentifiers:requestParameters:",
                   "requestParameters":{"allowedCredentials":[null]}})",
              "requestParameters.allowedCredentials[0] is null; "},
          Row{R"({"entryPoint":"prepareCredentialListForServiceIdentifiers:requestParameters:",
                   "serviceIdentifiers":["a",1]})",
              "serviceIdentifiers[1] is a number; it must be a string."},
          Row{R"({"entryPoint":"prepareCredentialListForServiceIdentifiers:requestParameters:",
                   "serviceIdentifiers":"a"})",
              "serviceIdentifiers is a string; it must be an array of strings."},
          Row{R"({"entryPoint":"prepareInterfaceForPasskeyRegistration:",
                   "request":{"class":"ASPasskeyCredentialRequest","excludedCredentials":["AQ"]}})",
              "request.excludedCredentials[0] is a string; it must be an object."},
      }) {
    const auto call = parseCall(line);
    ASSERT_FALSE(call.has_value()) << line;
    EXPECT_THAT(call.error(), StartsWith(reason)) << line;
    EXPECT_TRUE(call.error().ends_with('.')) << call.error();
    EXPECT_THAT(call.error(), testing::Not(HasSubstr("json.exception"))) << line;
  }
}

TEST(CallParser, RefusesNumbersThatAreNoIntegersOf64Bits) {
  for (const char* const number : {"-7.0", "1e3", "9223372036854775808", "99999999999999999999"}) {
    EXPECT_FALSE(parseCall(std::string(R"({"entryPoint":"prepareInterfaceForPasskeyRegistration:",
        "request":{"class":"ASPasskeyCredentialRequest","supportedAlgorithms":[)") +
                           number + "]}}")
                     .has_value())
        << number;
  }
}

TEST(CallParser, SaysWhatIsWrongWithBytes) {
  using Row = std::pair<const char*, const char*>;
  for (const auto& [text, flaw] :
       {Row{"AQ==", "is padded with \"=\""},
        Row{"A+8", "has a character that base64url does not use at position 2"},
        Row{"AQI D", "has a character that base64url does not use at position 4"},
        Row{"AQIDB", "is one character too short or too long"},
        Row{"AR", "has bits set that belong to no byte in its last character"},
        Row{"AQJ", "has bits set that belong to no byte in its last character"}}) {
    const std::string selector = "reportUnknownPublicKeyCredentialForRelyingParty:credentialID:";
    EXPECT_EQ(
        parseCall(R"({"entryPoint":")" + selector + R"(","credentialID":")" + text + "\"}").error(),
        std::string("credentialID ") + flaw +
            "; it must be bytes, a string of base64url without padding.");
  }
}

TEST(CallParser, SaysWhyToTheEndWhereItQuotesTheCharacterZero) {
  using namespace std::string_literals;
  const std::string asKey = parseCall(R"({"entryPoint":"a","\u0000":1,"\u0000":2})").error();
  EXPECT_THAT(asKey, StartsWith("The key \0 is given twice"s));
  EXPECT_TRUE(asKey.ends_with('.')) << asKey;

  const std::string asValue = parseCall(R"({"entryPoint":"a\u0000b"})").error();
  EXPECT_THAT(asValue, StartsWith("entryPoint is \"a\0b\"; "s));
  EXPECT_TRUE(asValue.ends_with('.')) << asValue;
}

TEST(CallParser, RefusesDeeplyNestedLinesWithoutHarm) {
  constexpr std::size_t Depth = 100'000;
  EXPECT_FALSE(parseCall(std::string(Depth, '[')).has_value());
  EXPECT_FALSE(
      parseCall(R"({"entryPoint":)" + std::string(Depth, '[') + std::string(Depth, ']') + "}")
          .has_value());
}

}  // namespace
}  // namespace korvan::lab
