#include "lab/site/SignIn.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "lab/host/SigningKey.h"
#include "lab/support/Base64Url.h"
#include "lab/support/Bytes_testing.h"
#include "lab/system/RecordingController_testing.h"

namespace korvan::lab {
namespace {

class SignInTest : public testing::Test {
 protected:
  /// The controller after the sign-in's call.
  [[nodiscard]] std::shared_ptr<RecordingController> called(SignInMode mode) const {
    auto controller = std::make_shared<RecordingController>();
    PasskeyCredentialIdentity identity;
    identity.recordIdentifier = "record";
    signInCall(site_, {.mode = mode,
                       .identity = identity,
                       .registered = std::nullopt,
                       .allowedCredentials = {bytes({1}), bytes({2})}})
        .invoke(*controller);
    return controller;
  }

  RelyingParty site_{"example.com", RelyingParty::UserVerification::required};
};

TEST_F(SignInTest, AsksForTheKnownPasskeyUnlessTheUserChooses) {
  for (const auto& [mode, name] : {std::pair(SignInMode::silent, "silent assertion"),
                                   std::pair(SignInMode::interactive, "interactive assertion")}) {
    const auto controller = called(mode);
    EXPECT_EQ(controller->called, name);
    const PasskeyCredentialRequest* const request = controller->passkeyRequest();
    ASSERT_NE(request, nullptr);
    EXPECT_EQ(request->credentialIdentity->recordIdentifier, "record");
    EXPECT_EQ(request->clientDataHash, site_.clientDataHash());
    EXPECT_EQ(request->userVerificationPreference, "required");
  }
}

TEST_F(SignInTest, AsksForAnAllowedPasskeyOfTheSiteFromTheList) {
  const auto parameters = called(SignInMode::list)->parameters;
  ASSERT_NE(parameters, nullptr);
  EXPECT_EQ(parameters->relyingPartyIdentifier, "example.com");
  EXPECT_EQ(parameters->clientDataHash, site_.clientDataHash());
  EXPECT_EQ(parameters->allowedCredentials, (PropertyListValue::Array{bytes({1}), bytes({2})}));
}

TEST(EnrolledPasskey, IsTheFirstOfTheSiteThatTheHostTellsOf) {
  const std::string key = base64Url(host::SigningKey::generate().subjectPublicKeyInfo().bytes());
  nlohmann::json event = {{"event", "ready"}, {"passkeys", nlohmann::json::array()}};
  for (const char* const site : {"example.org", "example.com", "example.com"}) {
    const auto number = static_cast<std::uint32_t>(event["passkeys"].size());
    event["passkeys"].push_back({{"recordIdentifier", "record " + std::to_string(number)},
                                 {"relyingPartyIdentifier", site},
                                 {"userName", "alice"},
                                 {"userHandle", "AQ"},
                                 {"credentialID", "Ag"},
                                 {"publicKey", key},
                                 {"signCount", number}});
  }
  const auto passkey = enrolledPasskey(event, "example.com");
  ASSERT_TRUE(passkey.has_value());
  EXPECT_EQ(passkey->identity.recordIdentifier, "record 1");
  EXPECT_EQ(passkey->identity.userName, "alice");
  EXPECT_EQ(passkey->registered.signCount, 1U);
  EXPECT_EQ(passkey->registered.credentialID, passkey->identity.credentialID);
  EXPECT_EQ(passkey->registered.relyingParty, "example.com");
  EXPECT_FALSE(enrolledPasskey(event, "example.net").has_value());
}

}  // namespace
}  // namespace korvan::lab
