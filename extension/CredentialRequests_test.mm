#include "extension/CredentialRequests.h"

#include <array>

#include <gtest/gtest.h>

#include "platform/apple/AppleOperatingSystem.h"
#include "platform/apple/Conversions.h"

namespace korvan {
namespace {

Data data(std::uint8_t byte) { return Data::copyOf(std::array{byte}); }

ASPasskeyCredentialIdentity* identity() {
  return [[ASPasskeyCredentialIdentity alloc] initWithRelyingPartyIdentifier:@"example.org"
                                                                    userName:@"alice"
                                                                credentialID:toNSData(data(1))
                                                                  userHandle:toNSData(data(2))
                                                            recordIdentifier:nil];
}

ASPasskeyCredentialRequest* request() {
  return [[ASPasskeyCredentialRequest alloc]
      initWithCredentialIdentity:identity()
                  clientDataHash:toNSData(data(3))
      userVerificationPreference:
          ASAuthorizationPublicKeyCredentialUserVerificationPreferencePreferred
             supportedAlgorithms:@[ @(-7) ]];
}

TEST(CredentialRequests, NilIsNull) {
  EXPECT_EQ(passkeyCredentialRequestOf(nil), nullptr);
  EXPECT_EQ(credentialRequestOf(nil), nullptr);
  EXPECT_EQ(requestParametersOf(nil), nullptr);
  EXPECT_TRUE(serviceIdentifiersOf(nil).empty());
}

TEST(CredentialRequests, AnotherClassIsNotAPasskeyRequest) {
  EXPECT_EQ(passkeyCredentialRequestOf(@"text"), nullptr);
  EXPECT_EQ(requestParametersOf(@"text"), nullptr);
  EXPECT_TRUE(serviceIdentifiersOf(@[ @"text" ]).empty());

  const auto other = credentialRequestOf(@"text");
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(other->passkeyRequest(), nullptr);
}

TEST(CredentialRequests, APasskeyRequestKeepsEveryField) {
  const auto record = credentialRequestOf(request());
  ASSERT_NE(record, nullptr);
  const PasskeyCredentialRequest* const passkey = record->passkeyRequest();
  ASSERT_NE(passkey, nullptr);
  EXPECT_EQ(passkey->clientDataHash, data(3));
  EXPECT_EQ(passkey->userVerificationPreference, UserVerificationPreferencePreferred);
  EXPECT_EQ(passkey->supportedAlgorithms, std::vector<std::int64_t>{-7});
  ASSERT_TRUE(passkey->credentialIdentity.has_value());
  EXPECT_EQ(passkey->credentialIdentity->relyingPartyIdentifier, "example.org");
  EXPECT_EQ(passkey->credentialIdentity->userName, "alice");
  EXPECT_EQ(passkey->credentialIdentity->credentialID, data(1));
  EXPECT_EQ(passkey->credentialIdentity->userHandle, data(2));
  EXPECT_EQ(passkey->credentialIdentity->recordIdentifier, std::nullopt);
}

TEST(CredentialRequests, ExcludedCredentialsAreReadOnDemandAndNilIsNullopt) {
  if (!AppleOperatingSystem().isAtLeast({.major = 15})) {
    GTEST_SKIP() << "The property is not there before macOS 15.0.";
  }
  EXPECT_FALSE(passkeyCredentialRequestOf(request())->excludedCredentials().has_value());
}

}  // namespace
}  // namespace korvan
