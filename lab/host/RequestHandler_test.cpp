#include "lab/host/RequestHandler.h"

#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/host/AssertionRequest_testing.h"
#include "lab/host/AuthenticatorData.h"
#include "lab/site/AttestationReader.h"
#include "lab/site/PublicKey.h"
#include "lab/support/AuthenticatorFlags.h"
#include "lab/support/Bytes_testing.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab::host {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using Array = PropertyListValue::Array;

constexpr std::uint8_t PasskeyFlags = UserPresent | UserVerified | BackupEligible | BackedUp;

Data dataIn(const PropertyListDictionary& message, std::string_view key) {
  const PropertyListValue* value = valueForKey(message, key);
  return value == nullptr || value->data() == nullptr ? Data() : *value->data();
}

std::string textIn(const PropertyListDictionary& message, std::string_view key) {
  const PropertyListValue* value = valueForKey(message, key);
  return value == nullptr || value->text() == nullptr ? "" : std::string(value->text()->view());
}

bool isOk(const PropertyListDictionary& response) {
  return valueForKey(response, "ok")->boolean() == std::optional(true);
}

std::string errorCode(const PropertyListDictionary& response) {
  EXPECT_EQ(valueForKey(response, "ok")->boolean(), std::optional(false));
  EXPECT_FALSE(textIn(response, "errorDescription").empty());
  return textIn(response, "errorCode");
}

/// `request` with the key set, or without it when there is no value.
PropertyListDictionary with(PropertyListDictionary request, std::string_view key,
                            PropertyListValue value) {
  request.insert_or_assign(key, std::move(value));
  return request;
}

PropertyListDictionary without(PropertyListDictionary request, const Text& key) {
  request.erase(key);
  return request;
}

class RequestHandlerTest : public testing::Test {
 protected:
  PropertyListDictionary answer(const PropertyListDictionary& request) {
    return handler_->answer(request);
  }

  void behave(RequestHandler::Behavior behavior) { handler_ = handlerThat(behavior); }

  [[nodiscard]] const Passkey& seeded() const { return vault_.passkeys().front(); }
  [[nodiscard]] std::size_t passkeyCount() const { return vault_.passkeys().size(); }

  /// A silent sign-in with the seeded passkey.
  [[nodiscard]] PropertyListDictionary assertion() const {
    return assertionRequest(
        {{"recordIdentifier", seeded().recordIdentifier}, {"credentialID", seeded().credentialID}});
  }

  /// A sign-in with whichever passkey of example.com the user chooses.
  [[nodiscard]] static PropertyListDictionary listAssertion() {
    return assertionRequest({{"type", "interactiveAssertion"}, {"allowsUserInteraction", true}});
  }

  [[nodiscard]] PropertyListDictionary registration() const {
    return {{"type", "registration"},
            {"recordIdentifier", ""},
            {"relyingPartyIdentifier", "example.com"},
            {"userName", "bob"},
            {"userHandle", testBytes(8, 'b')},
            {"clientDataHash", hash_},
            {"supportedAlgorithms", Array{-257, -7}},
            {"excludedCredentials", Array{}},
            {"userVerificationPreference", "preferred"},
            {"allowsUserInteraction", true},
            {"conditional", false}};
  }

  [[nodiscard]] PropertyListDictionary updateUserName() const {
    return {{"type", "updateUserName"},
            {"relyingPartyIdentifier", "example.com"},
            {"userHandle", seeded().userHandle},
            {"userName", "alicia"},
            {"allowsUserInteraction", false}};
  }

  [[nodiscard]] PropertyListDictionary removeUnknownCredential() const {
    return {{"type", "removeUnknownCredential"},
            {"relyingPartyIdentifier", "example.com"},
            {"credentialID", seeded().credentialID},
            {"allowsUserInteraction", false}};
  }

  [[nodiscard]] PropertyListDictionary acceptedCredentials() const {
    return {{"type", "acceptedCredentials"},
            {"relyingPartyIdentifier", "example.com"},
            {"userHandle", seeded().userHandle},
            {"acceptedCredentialIDs", Array{testBytes(32, 'x')}},
            {"allowsUserInteraction", false}};
  }

  [[nodiscard]] static PropertyListDictionary synchronize() {
    return {{"type", "synchronize"}, {"allowsUserInteraction", true}};
  }

  /// One good request of each type.
  [[nodiscard]] std::vector<PropertyListDictionary> allRequests() const {
    return {assertion(),      listAssertion(),           registration(),       synchronize(),
            updateUserName(), removeUnknownCredential(), acceptedCredentials()};
  }

  /// Whether the response is an assertion that example.com accepts from the owner of `passkey`.
  void expectSignedBy(const Passkey& passkey, const PropertyListDictionary& response) const {
    ASSERT_TRUE(isOk(response)) << textIn(response, "errorDescription");
    const Data statement = dataIn(response, "authenticatorData");
    EXPECT_TRUE(
        PublicKey::fromDer(passkey.key.subjectPublicKeyInfo().bytes())
            .verifies(joined({statement, hash_}).bytes(), dataIn(response, "signature").bytes()));
    EXPECT_EQ(statement.slice(0, 32), authenticatorData("example.com", 0, 0).slice(0, 32));
    EXPECT_EQ(dataIn(response, "credentialID"), passkey.credentialID);
    EXPECT_EQ(dataIn(response, "userHandle"), passkey.userHandle);
  }

  Vault vault_;
  const Data hash_ = testBytes(32, 'h');
  int unlocks_ = 0;

 private:
  std::unique_ptr<RequestHandler> handlerThat(RequestHandler::Behavior behavior) {
    return std::make_unique<RequestHandler>(vault_, behavior, [this] { ++unlocks_; });
  }

  std::unique_ptr<RequestHandler> handler_ = handlerThat({});
};

using Assertion = RequestHandlerTest;
using Registration = RequestHandlerTest;
using Reports = RequestHandlerTest;
using Synchronize = RequestHandlerTest;
using LockedVault = RequestHandlerTest;
using MalformedRequest = RequestHandlerTest;

TEST_F(Assertion, IsSignedAsARelyingPartyVerifiesIt) {
  const PropertyListDictionary response = answer(assertion());
  expectSignedBy(seeded(), response);
  EXPECT_EQ(dataIn(response, "clientDataHash"), hash_);
  EXPECT_EQ(textIn(response, "relyingPartyIdentifier"), "example.com");
  EXPECT_THAT(response, SizeIs(7));
}

TEST_F(Assertion, StatesThePresentAndVerifiedUserOfASyncedPasskeyAndNothingMore) {
  const auto statement =
      readAuthenticatorData(dataIn(answer(assertion()), "authenticatorData")).value();
  EXPECT_EQ(statement.flags, PasskeyFlags);
  EXPECT_TRUE(statement.rest.empty());
}

TEST_F(Assertion, CountsEachSignature) {
  const auto count = [this] {
    return readAuthenticatorData(dataIn(answer(assertion()), "authenticatorData"))->signCount;
  };
  EXPECT_EQ(count(), 1U);
  EXPECT_EQ(count(), 2U);
  EXPECT_EQ(seeded().signCount, 2U);
}

TEST_F(Assertion, IsRefusedWhenTheCountIsUsedUp) {
  std::vector<Passkey> passkeys = vault_.passkeys();
  passkeys.front().signCount = std::numeric_limits<std::uint32_t>::max();
  vault_.replacePasskeys(passkeys);
  EXPECT_EQ(errorCode(answer(assertion())), "failed");
  EXPECT_EQ(seeded().signCount, std::numeric_limits<std::uint32_t>::max());
}

TEST_F(Assertion, TakesThePasskeyOfTheRecordAlone) {
  answer(registration());
  const auto response = answer(with(assertion(), "credentialID", Data()));
  expectSignedBy(seeded(), response);
}

TEST_F(Assertion, TakesThePasskeyOfTheCredentialIDAlone) {
  answer(registration());
  const auto response = answer(with(assertion(), "recordIdentifier", ""));
  expectSignedBy(seeded(), response);
}

TEST_F(Assertion, FindsNothingWhenRecordAndCredentialIDDisagree) {
  answer(registration());
  const Data other = vault_.passkeys().back().credentialID;
  EXPECT_EQ(errorCode(answer(with(assertion(), "credentialID", other))), "credentialNotFound");
}

TEST_F(Assertion, FindsNothingForAnotherRelyingParty) {
  for (const char* relyingParty : {"", "example.org", "www.example.com", "EXAMPLE.COM"}) {
    EXPECT_EQ(errorCode(answer(with(assertion(), "relyingPartyIdentifier", relyingParty))),
              "credentialNotFound")
        << relyingParty;
  }
  EXPECT_EQ(seeded().signCount, 0U);
}

TEST_F(Assertion, TakesTheNewestPasskeyWhenAnyIsAllowed) {
  answer(registration());
  ASSERT_EQ(passkeyCount(), 2U);
  const auto response = answer(listAssertion());
  expectSignedBy(vault_.passkeys().back(), response);
}

TEST_F(Assertion, TakesAnAllowedPasskey) {
  answer(registration());
  const Array allowed{testBytes(32, 'x'), seeded().credentialID};
  const auto response = answer(with(listAssertion(), "allowedCredentials", allowed));
  expectSignedBy(seeded(), response);
}

TEST_F(Assertion, FindsNothingWhenNoneOfItsPasskeysIsAllowed) {
  const Array allowed{testBytes(32, 'x')};
  EXPECT_EQ(errorCode(answer(with(listAssertion(), "allowedCredentials", allowed))),
            "credentialNotFound");
}

TEST_F(Assertion, NeedsTheUserWhenSilentAndVerificationIsDemanded) {
  const auto silent = with(assertion(), "userVerificationPreference", "required");
  EXPECT_EQ(errorCode(answer(silent)), "userInteractionRequired");
  EXPECT_EQ(seeded().signCount, 0U);
  const auto response = answer(with(silent, "allowsUserInteraction", true));
  expectSignedBy(seeded(), response);
}

TEST_F(Assertion, DoesNotNeedTheUserForWhatItCannotFind) {
  const auto silent = with(assertion(), "userVerificationPreference", "required");
  EXPECT_EQ(errorCode(answer(with(silent, "relyingPartyIdentifier", "example.org"))),
            "credentialNotFound");
}

TEST_F(Assertion, IsCanceledByAUserWhoIsAsked) {
  behave({.userCancels = true});
  EXPECT_EQ(errorCode(answer(listAssertion())), "userCanceled");
  EXPECT_EQ(seeded().signCount, 0U);
  EXPECT_TRUE(isOk(answer(assertion()))) << "nobody is asked";
}

TEST_F(Assertion, IsRefusedWithAHashOfAnotherSize) {
  for (const std::size_t size : {0U, 31U, 33U}) {
    const auto response = answer(with(assertion(), "clientDataHash", testBytes(size, 'h')));
    EXPECT_EQ(errorCode(response), "failed");
    EXPECT_THAT(textIn(response, "errorDescription"), HasSubstr("clientDataHash"));
  }
}

TEST_F(Registration, MakesAPasskeyThatTheRelyingPartyCanUse) {
  const PropertyListDictionary response = answer(registration());
  ASSERT_TRUE(isOk(response));
  EXPECT_THAT(response, SizeIs(5));
  EXPECT_EQ(textIn(response, "relyingPartyIdentifier"), "example.com");
  EXPECT_EQ(dataIn(response, "clientDataHash"), hash_);

  const auto statement =
      readAuthenticatorData(readAttestationObject(dataIn(response, "attestationObject")).value())
          .value();
  EXPECT_EQ(statement.flags, PasskeyFlags | AttestedCredentialDataIncluded);
  EXPECT_EQ(statement.signCount, 0U);
  ASSERT_GT(statement.rest.size(), 50U);
  EXPECT_EQ(statement.rest.slice(0, 16), testBytes(16, 0));
  EXPECT_EQ(statement.rest.slice(18, 32), dataIn(response, "credentialID"));

  const Point point = readCoseKey(statement.rest.slice(50, statement.rest.size() - 50)).value();
  const Passkey made = vault_.passkeys().back();
  EXPECT_EQ(point.x, made.key.publicX());
  EXPECT_EQ(point.y, made.key.publicY());
  const auto assertion = answer(listAssertion());
  expectSignedBy(made, assertion);
}

TEST_F(Registration, KeepsWhatTheRequestSaysOfTheUser) {
  answer(registration());
  const Passkey& made = vault_.passkeys().back();
  EXPECT_EQ(made.relyingPartyIdentifier, "example.com");
  EXPECT_EQ(made.userName, "bob");
  EXPECT_EQ(made.userHandle, testBytes(8, 'b'));
  EXPECT_NE(made.recordIdentifier, seeded().recordIdentifier);
  EXPECT_NE(made.credentialID, seeded().credentialID);
}

TEST_F(Registration, TakesThePlaceOfTheUsersOldPasskeyAtTheRelyingPartyOnly) {
  answer(registration());
  answer(with(registration(), "relyingPartyIdentifier", "example.org"));
  const Data old = vault_.passkeys()[1].credentialID;
  answer(registration());
  ASSERT_EQ(passkeyCount(), 3U);
  EXPECT_EQ(vault_.passkeys()[1].relyingPartyIdentifier, "example.org");
  EXPECT_NE(vault_.passkeys()[2].credentialID, old);
}

TEST_F(Registration, IsDoneSilentlyWhenConditional) {
  const auto silent =
      with(with(registration(), "conditional", true), "allowsUserInteraction", false);
  EXPECT_TRUE(isOk(answer(silent)));
  EXPECT_EQ(errorCode(answer(with(silent, "userVerificationPreference", "required"))),
            "userInteractionRequired");
}

TEST_F(Registration, NeedsEs256AmongTheAlgorithms) {
  EXPECT_TRUE(isOk(answer(with(registration(), "supportedAlgorithms", Array{}))));
  EXPECT_TRUE(isOk(answer(with(registration(), "supportedAlgorithms", Array{-7}))));
  const auto response = answer(with(registration(), "supportedAlgorithms", Array{-257, -8}));
  EXPECT_EQ(errorCode(response), "failed");
  EXPECT_THAT(textIn(response, "errorDescription"), HasSubstr("ES256"));
}

TEST_F(Registration, IsRefusedWhenThePartyExcludesAPasskeyOfTheVault) {
  const Array excluded{testBytes(32, 'x'), seeded().credentialID};
  const auto request = with(registration(), "excludedCredentials", excluded);
  EXPECT_EQ(errorCode(answer(request)), "matchedExcludedCredential");
  EXPECT_EQ(passkeyCount(), 1U);
  EXPECT_TRUE(isOk(answer(with(request, "relyingPartyIdentifier", "example.org"))));
}

TEST_F(Registration, IsCanceledByAUserWhoIsAsked) {
  behave({.userCancels = true});
  EXPECT_EQ(errorCode(answer(registration())), "userCanceled");
  EXPECT_EQ(passkeyCount(), 1U);
}

TEST_F(Registration, IsRefusedWithoutARelyingPartyOrAUser) {
  EXPECT_EQ(errorCode(answer(with(registration(), "relyingPartyIdentifier", ""))), "failed");
  EXPECT_EQ(errorCode(answer(with(registration(), "userHandle", Data()))), "failed");
  EXPECT_EQ(errorCode(answer(with(registration(), "userHandle", testBytes(65, 'u')))), "failed");
  EXPECT_EQ(passkeyCount(), 1U);
  EXPECT_TRUE(isOk(answer(with(registration(), "userHandle", testBytes(64, 'u')))));
}

TEST_F(Synchronize, Succeeds) {
  EXPECT_EQ(answer(synchronize()), (PropertyListDictionary{{"ok", true}}));
}

TEST_F(Reports, ChangeTheNameOfTheUser) {
  answer(registration());
  EXPECT_EQ(answer(updateUserName()), (PropertyListDictionary{{"ok", true}}));
  EXPECT_EQ(vault_.passkeys().front().userName, "alicia");
  EXPECT_EQ(vault_.passkeys().back().userName, "bob");
}

TEST_F(Reports, ChangeNoNameAtAnotherRelyingParty) {
  EXPECT_TRUE(isOk(answer(with(updateUserName(), "relyingPartyIdentifier", "example.org"))));
  EXPECT_EQ(seeded().userName, "alice");
}

TEST_F(Reports, RemoveAnUnknownCredential) {
  answer(registration());
  const Data kept = vault_.passkeys().back().credentialID;
  EXPECT_TRUE(isOk(answer(removeUnknownCredential())));
  ASSERT_EQ(passkeyCount(), 1U);
  EXPECT_EQ(seeded().credentialID, kept);
}

TEST_F(Reports, RemoveNothingOfAnotherRelyingParty) {
  const auto request = with(removeUnknownCredential(), "relyingPartyIdentifier", "example.org");
  EXPECT_TRUE(isOk(answer(request)));
  EXPECT_EQ(passkeyCount(), 1U);
}

TEST_F(Reports, RemoveTheUsersCredentialsThatAreNotAccepted) {
  answer(registration());
  EXPECT_TRUE(isOk(answer(acceptedCredentials())));
  ASSERT_EQ(passkeyCount(), 1U);
  EXPECT_EQ(seeded().userName, "bob") << "another user's passkey is not concerned";
}

TEST_F(Reports, KeepTheUsersCredentialsThatAreAccepted) {
  const Array accepted{testBytes(32, 'x'), seeded().credentialID};
  EXPECT_TRUE(isOk(answer(with(acceptedCredentials(), "acceptedCredentialIDs", accepted))));
  EXPECT_EQ(passkeyCount(), 1U);
}

TEST_F(Reports, RemoveAllOfTheUserWhenNoneIsAccepted) {
  EXPECT_TRUE(isOk(answer(with(acceptedCredentials(), "acceptedCredentialIDs", Array{}))));
  EXPECT_THAT(vault_.passkeys(), IsEmpty());
}

TEST_F(LockedVault, TurnsBackWhatAllowsNoUserInteraction) {
  behave({.locked = true});
  for (const PropertyListDictionary& request : allRequests()) {
    const auto silent = with(request, "allowsUserInteraction", false);
    EXPECT_EQ(errorCode(answer(silent)), "vaultLocked") << textIn(request, "type");
  }
  EXPECT_EQ(passkeyCount(), 1U);
  EXPECT_EQ(seeded().signCount, 0U);
  EXPECT_EQ(unlocks_, 0);
}

TEST_F(LockedVault, IsUnlockedByTheFirstInteractiveRequestAndStaysSo) {
  behave({.locked = true});
  EXPECT_TRUE(isOk(answer(listAssertion())));
  EXPECT_TRUE(isOk(answer(assertion())));
  EXPECT_TRUE(isOk(answer(synchronize())));
  EXPECT_EQ(unlocks_, 1);
}

TEST_F(LockedVault, StaysLockedWhenTheUserCancels) {
  behave({.locked = true, .userCancels = true});
  EXPECT_EQ(errorCode(answer(synchronize())), "userCanceled");
  EXPECT_EQ(errorCode(answer(listAssertion())), "userCanceled");
  EXPECT_EQ(errorCode(answer(assertion())), "vaultLocked");
  EXPECT_EQ(unlocks_, 0);
}

TEST_F(MalformedRequest, OfAnUnknownTypeIsRefused) {
  for (const char* type : {"", "Assertion", "assertion ", "delete"}) {
    const auto response = answer(with(assertion(), "type", type));
    EXPECT_EQ(errorCode(response), "failed");
    EXPECT_EQ(textIn(response, "errorDescription"), "The request's type is unknown.");
  }
}

TEST_F(MalformedRequest, IsNotRepeatedToAPersonWhoReadsTheRefusal) {
  for (const char* key : {"type", "relyingPartyIdentifier"}) {
    const auto response = answer(with(assertion(), key, "\x1B[2J\r"));
    EXPECT_NE(errorCode(response), "");
    EXPECT_THAT(textIn(response, "errorDescription"), Not(HasSubstr("\x1B")));
  }
}

TEST_F(MalformedRequest, IsRefusedByTheNameOfTheKey) {
  // The vault names its records itself, and whether a registration is conditional changes nothing.
  const std::vector<Text> unread{"recordIdentifier", "conditional"};
  for (const PropertyListDictionary& request : allRequests()) {
    for (const auto& [key, value] : request) {
      if (textIn(request, "type") == "registration" &&
          testing::Value(unread, testing::Contains(key))) {
        continue;
      }
      for (const auto& bad : {without(request, key), with(request, key.view(), 7)}) {
        const auto response = answer(bad);
        EXPECT_EQ(errorCode(response), "failed") << textIn(request, "type") << ": " << key.view();
        EXPECT_THAT(textIn(response, "errorDescription"), HasSubstr(std::string(key.view())));
      }
    }
  }
  EXPECT_EQ(passkeyCount(), 1U);
  EXPECT_EQ(seeded().signCount, 0U);
}

TEST_F(MalformedRequest, IsRefusedByTheElementOfAList) {
  const auto description = [this](const PropertyListDictionary& request) {
    return textIn(answer(request), "errorDescription");
  };
  EXPECT_EQ(description(with(listAssertion(), "allowedCredentials", Array{hash_, 2, hash_})),
            "The request's allowedCredentials[1] is not data.");
  EXPECT_EQ(description(with(registration(), "supportedAlgorithms", Array{hash_})),
            "The request's supportedAlgorithms[0] is not an integer.");
}

TEST(RequestHandlerWithAFile, HasSavedTheCountBeforeItAnswers) {
  const TemporaryDirectory directory;
  Vault vault(directory.path() / "vault.json");
  RequestHandler handler(vault, {}, [] {});
  const PropertyListDictionary request = assertionRequest({});
  EXPECT_TRUE(isOk(handler.answer(request)));
  EXPECT_EQ(Vault(directory.path() / "vault.json").passkeys().front().signCount, 1U);

  std::filesystem::remove_all(directory.path());
  EXPECT_EQ(errorCode(handler.answer(request)), "failed");
  EXPECT_EQ(vault.passkeys().front().signCount, 1U);
}

}  // namespace
}  // namespace korvan::lab::host
