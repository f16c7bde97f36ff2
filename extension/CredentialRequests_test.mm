#include "extension/CredentialRequests.h"

#include <array>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "platform/apple/AppleOperatingSystem.h"
#include "platform/apple/Conversions.h"

/// A request whose excluded credentials the test chooses, on any version of the system.
@interface ExcludingRequest : ASPasskeyCredentialRequest
@property(nonatomic, nullable) NSArray* excluded;
@end

@implementation ExcludingRequest
- (NSArray*)excludedCredentials {
  return self.excluded;
}
@end

/// Describes a credential without being of the platform's class.
@interface OtherDescriptor : NSObject
@property(nonatomic, nullable) id credentialID;
@end

@implementation OtherDescriptor
@end

/// Parameters whose values the test chooses.
@interface ChosenParameters : ASPasskeyCredentialRequestParameters
@property(nonatomic, nullable) NSString* relyingParty;
@property(nonatomic, nullable) NSData* hash32;
@property(nonatomic, nullable) NSString* preference;
@property(nonatomic, nullable) NSArray* allowed;
@end

@implementation ChosenParameters
- (NSString*)relyingPartyIdentifier {
  return self.relyingParty;
}
- (NSData*)clientDataHash {
  return self.hash32;
}
- (ASAuthorizationPublicKeyCredentialUserVerificationPreference)userVerificationPreference {
  return self.preference;
}
- (NSArray<NSData*>*)allowedCredentials {
  return self.allowed;
}
@end

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

template <typename Request = ASPasskeyCredentialRequest>
Request* request() {
  return [[Request alloc] initWithCredentialIdentity:identity()
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
  EXPECT_EQ(passkey->userVerificationPreference,
            AppleOperatingSystem().preferredUserVerification());
  EXPECT_EQ(passkey->supportedAlgorithms, PropertyListValue::Array{-7});
  ASSERT_TRUE(passkey->credentialIdentity.has_value());
  EXPECT_EQ(passkey->credentialIdentity->relyingPartyIdentifier, "example.org");
  EXPECT_EQ(passkey->credentialIdentity->userName, "alice");
  EXPECT_EQ(passkey->credentialIdentity->credentialID, data(1));
  EXPECT_EQ(passkey->credentialIdentity->userHandle, data(2));
  EXPECT_EQ(passkey->credentialIdentity->recordIdentifier, std::nullopt);
}

TEST(CredentialRequests, ExcludedCredentialsAreReadOnDemandAndNilIsNullopt) {
  ExcludingRequest* const excluding = request<ExcludingRequest>();
  const auto record = passkeyCredentialRequestOf(excluding);
  EXPECT_FALSE(record->excludedCredentials().has_value());
  excluding.excluded = [NSArray array];
  EXPECT_TRUE(record->excludedCredentials().value().empty());
}

TEST(CredentialRequests, AnythingWithACredentialIDDescribesACredential) {
  OtherDescriptor* const other = [[OtherDescriptor alloc] init];
  other.credentialID = toNSData(data(2));
  OtherDescriptor* const unusual = [[OtherDescriptor alloc] init];
  unusual.credentialID = @"text";
  ExcludingRequest* const excluding = request<ExcludingRequest>();
  excluding.excluded = @[
    [[ASAuthorizationPlatformPublicKeyCredentialDescriptor alloc]
        initWithCredentialID:toNSData(data(1))],
    [[OtherDescriptor alloc] init], other, unusual, @"no descriptor"
  ];

  const auto descriptors = passkeyCredentialRequestOf(excluding)->excludedCredentials();
  ASSERT_TRUE(descriptors.has_value());
  std::vector<std::optional<PropertyListValue>> identifiers;
  for (const PasskeyCredentialDescriptor& descriptor : *descriptors) {
    identifiers.push_back(descriptor.credentialID);
  }
  EXPECT_EQ(identifiers, (std::vector<std::optional<PropertyListValue>>{
                             data(1), std::nullopt, data(2), "text", std::nullopt}));
}

TEST(CredentialRequests, RequestParametersKeepEveryField) {
  ChosenParameters* const chosen = [[ChosenParameters alloc] init];
  chosen.relyingParty = @"example.org";
  chosen.hash32 = toNSData(data(1));
  chosen.preference = @"discouraged";
  chosen.allowed = @[ toNSData(data(3)), @"text", toNSData(data(2)) ];
  const auto record = requestParametersOf(chosen);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->relyingPartyIdentifier, "example.org");
  EXPECT_EQ(record->clientDataHash, data(1));
  EXPECT_EQ(record->userVerificationPreference, "discouraged");
  EXPECT_EQ(record->allowedCredentials, (PropertyListValue::Array{data(3), "text", data(2)}));
}

TEST(CredentialRequests, RequestParametersThatAreNilAreNullopt) {
  const auto record = requestParametersOf([[ChosenParameters alloc] init]);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->relyingPartyIdentifier, std::nullopt);
  EXPECT_EQ(record->clientDataHash, std::nullopt);
  EXPECT_EQ(record->userVerificationPreference, std::nullopt);
  EXPECT_EQ(record->allowedCredentials, std::nullopt);
}

}  // namespace
}  // namespace korvan
