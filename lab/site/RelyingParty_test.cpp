#include "lab/site/RelyingParty.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "lab/host/AuthenticatorData.h"
#include "lab/host/SigningKey.h"
#include "lab/support/AuthenticatorFlags.h"
#include "lab/support/Base64Url.h"
#include "lab/support/Bytes_testing.h"

namespace korvan::lab {
namespace {

using Verdict = Finding::Verdict;
using UserVerification = RelyingParty::UserVerification;

/// A relying party, a passkey that it knows, and a host that signs what the test says.
class RelyingPartyTest : public testing::Test {
 protected:
  struct Statement {
    std::string relyingParty = "example.com";
    std::uint8_t flags = UserPresent | UserVerified;
    std::uint32_t signCount = 6;
  };

  [[nodiscard]] PasskeyAssertionCredential credential(const Statement& statement) const {
    const Data authenticatorData =
        host::authenticatorData(statement.relyingParty, statement.flags, statement.signCount);
    const auto statementBytes = authenticatorData.bytes();
    std::vector<std::uint8_t> message(statementBytes.begin(), statementBytes.end());
    const auto hash = site_.clientDataHash().bytes();
    message.insert(message.end(), hash.begin(), hash.end());
    return {.userHandle = bytes({1}),
            .relyingParty = "example.com",
            .signature = key_.sign(message),
            .clientDataHash = site_.clientDataHash(),
            .authenticatorData = authenticatorData,
            .credentialID = bytes({2})};
  }
  [[nodiscard]] PasskeyAssertionCredential credential() const { return credential({}); }

  [[nodiscard]] FindingList findingsOf(const PasskeyAssertionCredential& answer,
                                       std::optional<RegisteredPasskey> passkey) const {
    return site_.verify(answerWith(answer), {.request = {}, .passkey = std::move(passkey)});
  }
  [[nodiscard]] bool accepts(const PasskeyAssertionCredential& answer) const {
    return isVerified(findingsOf(answer, passkey_));
  }

  host::SigningKey key_ = host::SigningKey::generate();
  RelyingParty site_{"example.com", UserVerification::required};
  RegisteredPasskey passkey_{.key = PublicKey::fromDer(key_.subjectPublicKeyInfo().bytes()),
                             .credentialID = bytes({2}),
                             .userHandle = bytes({1}),
                             .signCount = 5};
};

TEST_F(RelyingPartyTest, MakesTheClientDataOfABrowser) {
  const auto clientData = nlohmann::json::parse(site_.clientDataJSON());
  EXPECT_EQ(clientData.at("type"), "webauthn.get");
  EXPECT_EQ(clientData.at("origin"), "https://example.com");
  EXPECT_EQ(fromBase64Url(clientData.at("challenge").get<std::string>())->size(), 32U);
  EXPECT_EQ(site_.clientDataHash().size(), 32U);
  EXPECT_EQ(site_.userVerificationPreference(), "required");
}

TEST_F(RelyingPartyTest, NeverMakesTheSameChallengeAgain) {
  const RelyingParty other("example.com", UserVerification::required);
  EXPECT_NE(other.clientDataJSON(), site_.clientDataJSON());
}

TEST_F(RelyingPartyTest, AcceptsASignInWithTheRegisteredPasskey) {
  EXPECT_TRUE(accepts(credential()));
}

TEST_F(RelyingPartyTest, RefusesWhatTheAuthenticatorStatesWrongly) {
  EXPECT_FALSE(accepts(credential({.relyingParty = "example.org"})));
  EXPECT_FALSE(accepts(credential({.flags = UserVerified})));
  EXPECT_FALSE(accepts(credential({.flags = UserPresent})));
  EXPECT_FALSE(accepts(credential({.flags = UserPresent | UserVerified | BackedUp})));
  EXPECT_FALSE(accepts(credential({.signCount = 5})));
  EXPECT_FALSE(accepts(credential({.signCount = 0})));
}

TEST_F(RelyingPartyTest, RefusesAnyValueThatIsNotTheSignedOne) {
  using Change = std::function<void(PasskeyAssertionCredential&)>;
  const std::vector<Change> changes = {
      [](auto& answer) { answer.userHandle = bytes({9}); },
      [](auto& answer) { answer.userHandle = std::nullopt; },
      [](auto& answer) { answer.relyingParty = "example.org"; },
      [](auto& answer) { answer.relyingParty = std::nullopt; },
      [](auto& answer) { answer.signature = bytes({0x30, 0}); },
      [](auto& answer) { answer.signature = std::nullopt; },
      [](auto& answer) { answer.clientDataHash = bytes({1}); },
      [](auto& answer) { answer.clientDataHash = std::nullopt; },
      [](auto& answer) { answer.authenticatorData = answer.authenticatorData->slice(0, 36); },
      [](auto& answer) { answer.authenticatorData = std::nullopt; },
      [](auto& answer) {
        answer.authenticatorData =
            host::authenticatorData("example.com", UserPresent | UserVerified, 7);
      },
      [](auto& answer) { answer.credentialID = bytes({9}); },
      [](auto& answer) { answer.credentialID = std::nullopt; },
  };
  for (std::size_t index = 0; index < changes.size(); ++index) {
    auto answer = credential();
    changes[index](answer);
    EXPECT_FALSE(accepts(answer)) << index;
  }
}

TEST_F(RelyingPartyTest, DoesNotInsistOnVerificationThatItOnlyPrefers) {
  site_ = RelyingParty("example.com", UserVerification::preferred);
  EXPECT_TRUE(accepts(credential({.flags = UserPresent})));
  EXPECT_EQ(site_.userVerificationPreference(), "preferred");
  site_ = RelyingParty("example.com", UserVerification::discouraged);
  EXPECT_TRUE(accepts(credential({.flags = UserPresent})));
  EXPECT_EQ(site_.userVerificationPreference(), "discouraged");
}

TEST_F(RelyingPartyTest, AcceptsAnAuthenticatorThatDoesNotCount) {
  passkey_.signCount = 0;
  EXPECT_TRUE(accepts(credential({.signCount = 0})));
}

TEST_F(RelyingPartyTest, SaysThatItCannotCheckTheSignatureWithoutTheKey) {
  const auto findings = findingsOf(credential(), std::nullopt);
  EXPECT_EQ(findings.back().verdict, Verdict::notChecked);
  EXPECT_THAT(findings.back().words, testing::HasSubstr("signature was not checked"));
  EXPECT_FALSE(isVerified(findings));
}

TEST_F(RelyingPartyTest, TakesAnyPasskeyOfTheKeyWhenItKnowsNoMore) {
  passkey_.credentialID = std::nullopt;
  passkey_.userHandle = std::nullopt;
  EXPECT_TRUE(accepts(credential()));
}

/// A new passkey as a host hands it over, with one thing or another wrong.
class RelyingPartyRegistration : public testing::Test {
 protected:
  static constexpr std::uint8_t Flags = UserPresent | UserVerified | AttestedCredentialDataIncluded;

  [[nodiscard]] PasskeyRegistrationCredential credential(
      std::uint8_t flags = Flags, std::string_view relyingParty = "example.com",
      std::size_t idSize = 32) const {
    const Data identifier = Data::copyOf(std::vector<std::uint8_t>(idSize, 7));
    const Data attested = host::attestedCredentialData(identifier.bytes(), key_);
    const Data statement = host::authenticatorData(relyingParty, flags, 3, attested.bytes());
    return {.relyingParty = "example.com",
            .clientDataHash = site_.clientDataHash(),
            .credentialID = identifier,
            .attestationObject = host::attestationObject(statement.bytes())};
  }

  [[nodiscard]] bool accepts(const PasskeyRegistrationCredential& answer) const {
    const RegistrationReview review = site_.verify(answerWith(answer), options_);
    return review.passkey.has_value() && isVerified(review.findings);
  }

  host::SigningKey key_ = host::SigningKey::generate();
  RelyingParty site_{"example.com", UserVerification::required,
                     RelyingParty::Ceremony::registration};
  CreationOptions options_{.userName = "bob", .userHandle = bytes({1})};
};

TEST_F(RelyingPartyRegistration, MakesTheClientDataOfABrowser) {
  EXPECT_EQ(nlohmann::json::parse(site_.clientDataJSON()).at("type"), "webauthn.create");
}

TEST_F(RelyingPartyRegistration, RemembersThePasskeyThatItAccepts) {
  ASSERT_TRUE(accepts(credential()));
  const auto passkey = site_.verify(answerWith(credential()), options_).passkey;
  EXPECT_EQ(passkey->credentialID, credential().credentialID);
  EXPECT_EQ(passkey->userHandle, bytes({1}));
  EXPECT_EQ(passkey->signCount, 3U);
  const std::vector<std::uint8_t> message = {1, 2, 3};
  EXPECT_TRUE(passkey->key.verifies(message, key_.sign(message).bytes()));
}

TEST_F(RelyingPartyRegistration, RefusesWhatTheAuthenticatorStatesWrongly) {
  EXPECT_FALSE(accepts(credential(Flags, "example.org")));
  EXPECT_FALSE(accepts(credential(Flags & ~UserPresent)));
  EXPECT_FALSE(accepts(credential(Flags & ~UserVerified)));
  EXPECT_FALSE(accepts(credential(Flags & ~AttestedCredentialDataIncluded)));
  EXPECT_FALSE(accepts(credential(Flags | BackedUp)));
  EXPECT_TRUE(accepts(credential(Flags | BackedUp | BackupEligible)));
  EXPECT_FALSE(accepts(credential(Flags, "example.com", 15)));
  EXPECT_TRUE(accepts(credential(Flags, "example.com", 16)));
  EXPECT_TRUE(accepts(credential(Flags, "example.com", 1023)));
  EXPECT_FALSE(accepts(credential(Flags, "example.com", 1024)));
}

TEST_F(RelyingPartyRegistration, RefusesAnyValueThatIsNotTheAttestedOne) {
  using Change = std::function<void(PasskeyRegistrationCredential&)>;
  const std::vector<Change> changes = {
      [](auto& answer) { answer.relyingParty = "example.org"; },
      [](auto& answer) { answer.relyingParty = std::nullopt; },
      [](auto& answer) { answer.clientDataHash = bytes({1}); },
      [](auto& answer) { answer.clientDataHash = std::nullopt; },
      [](auto& answer) { answer.credentialID = bytes({7}); },
      [](auto& answer) { answer.credentialID = std::nullopt; },
      [](auto& answer) { answer.attestationObject = bytes({0xA0}); },
      [](auto& answer) { answer.attestationObject = std::nullopt; },
  };
  for (std::size_t index = 0; index < changes.size(); ++index) {
    auto answer = credential();
    changes[index](answer);
    EXPECT_FALSE(accepts(answer)) << index;
  }
}

TEST_F(RelyingPartyRegistration, RefusesAKeyThatIsNotOnTheCurve) {
  auto answer = credential();
  const auto whole = answer.attestationObject->bytes();
  std::vector<std::uint8_t> changed(whole.begin(), whole.end());
  changed.back() ^= 1U;
  answer.attestationObject = Data::copyOf(changed);
  EXPECT_FALSE(accepts(answer));
}

TEST_F(RelyingPartyRegistration, RefusesAnAlgorithmThatItDidNotAskFor) {
  options_.algorithms = {-257};
  EXPECT_FALSE(accepts(credential()));
}

TEST_F(RelyingPartyRegistration, RefusesAnExcludedCredential) {
  options_.excludedCredentials = {bytes({9}), *credential().credentialID};
  EXPECT_FALSE(accepts(credential()));
}

TEST_F(RelyingPartyRegistration, NeedsNoUserWhenItIsConditional) {
  site_ = RelyingParty("example.com", UserVerification::preferred,
                       RelyingParty::Ceremony::registration);
  options_.conditional = true;
  EXPECT_TRUE(accepts(credential(AttestedCredentialDataIncluded)));
}

}  // namespace
}  // namespace korvan::lab
