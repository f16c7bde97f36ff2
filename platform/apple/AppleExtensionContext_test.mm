#include "platform/apple/AppleExtensionContext.h"

#include <array>
#include <optional>

#include <gtest/gtest.h>

#include "platform/apple/Conversions.h"
#include "platform/apple/RecordingExtensionContext_testing.h"

/// A controller of the platform's own class, with a context to look at.
@interface RecordedController : ASCredentialProviderViewController
@property(nonatomic, readonly) RecordingExtensionContext* recording;
@end

@implementation RecordedController {
  RecordingExtensionContext* _recording;
}
- (RecordingExtensionContext*)recording {
  if (_recording == nil) {
    _recording = [[RecordingExtensionContext alloc] init];
  }
  return _recording;
}
- (ASCredentialProviderExtensionContext*)extensionContext {
  return self.recording;
}
@end

namespace korvan {
namespace {

Data data(std::uint8_t byte) { return Data::copyOf(std::array{byte}); }

class AppleExtensionContextTest : public testing::Test {
 protected:
  RecordedController* const controller_ = [[RecordedController alloc] init];
  AppleExtensionContext context_{controller_};
};

TEST_F(AppleExtensionContextTest, CompletesTheConfiguration) {
  context_.completeExtensionConfigurationRequest();
  EXPECT_TRUE(controller_.recording.configurationCompleted);
}

TEST_F(AppleExtensionContextTest, HandsOverEachValueOfAnAssertion) {
  context_.completeAssertionRequest({.userHandle = data(1),
                                     .relyingParty = "example.org",
                                     .signature = data(2),
                                     .clientDataHash = data(3),
                                     .authenticatorData = data(4),
                                     .credentialID = data(5)});
  ASPasskeyAssertionCredential* const credential = controller_.recording.assertionCredential;
  EXPECT_EQ(dataOf(credential.userHandle), data(1));
  EXPECT_EQ(stringOf(credential.relyingParty), "example.org");
  EXPECT_EQ(dataOf(credential.signature), data(2));
  EXPECT_EQ(dataOf(credential.clientDataHash), data(3));
  EXPECT_EQ(dataOf(credential.authenticatorData), data(4));
  EXPECT_EQ(dataOf(credential.credentialID), data(5));
  EXPECT_FALSE(controller_.recording.handlerGiven);
}

TEST_F(AppleExtensionContextTest, HandsOverEachValueOfARegistration) {
  context_.completeRegistrationRequest({.relyingParty = "example.org",
                                        .clientDataHash = data(1),
                                        .credentialID = data(2),
                                        .attestationObject = data(3)});
  ASPasskeyRegistrationCredential* const credential = controller_.recording.registrationCredential;
  EXPECT_EQ(stringOf(credential.relyingParty), "example.org");
  EXPECT_EQ(dataOf(credential.clientDataHash), data(1));
  EXPECT_EQ(dataOf(credential.credentialID), data(2));
  EXPECT_EQ(dataOf(credential.attestationObject), data(3));
  EXPECT_FALSE(controller_.recording.handlerGiven);
}

TEST_F(AppleExtensionContextTest, WhatTheFrameworkRaisesPassesToTheCaller) {
  NSException* const raised = [NSException exceptionWithName:NSInvalidArgumentException
                                                      reason:@"why"
                                                    userInfo:nil];
  controller_.recording.exception = raised;
  const auto expectRaised = [raised](const auto& call) {
    @try {
      call();
      ADD_FAILURE() << "Nothing was raised.";
    } @catch (NSException* exception) {
      EXPECT_EQ(exception, raised);
    }
  };
  expectRaised([this] { context_.completeAssertionRequest({}); });
  expectRaised([this] { context_.completeRegistrationRequest({}); });
  expectRaised([this] { context_.cancelRequest({.domain = ErrorDomain::extension}); });
}

TEST_F(AppleExtensionContextTest, CancelsWithTheErrorsDomainCodeAndDescription) {
  context_.cancelRequest({.domain = ErrorDomain::extension,
                          .code = 101,
                          .userInfo = ErrorUserInfo{.localizedDescription = "No such passkey."}});
  NSError* const error = controller_.recording.error;
  EXPECT_EQ(stringOf(error.domain), stringOf(ASExtensionErrorDomain));
  EXPECT_EQ(error.code, 101);
  EXPECT_EQ(stringOf(error.localizedDescription), "No such passkey.");
}

TEST_F(AppleExtensionContextTest, AnErrorWithoutADescriptionHasNoneOfOurs) {
  for (const std::optional<ErrorUserInfo>& userInfo :
       {std::optional<ErrorUserInfo>(), std::optional(ErrorUserInfo())}) {
    context_.cancelRequest({.domain = ErrorDomain::extension, .code = 0, .userInfo = userInfo});
    EXPECT_EQ(controller_.recording.error.userInfo.count, 0U);
  }
}

TEST(AppleExtensionContext, DoesNothingOnceTheControllerHasGone) {
  std::optional<AppleExtensionContext> context;
  __weak RecordedController* controller = nil;
  @autoreleasepool {
    RecordedController* const owned = [[RecordedController alloc] init];
    controller = owned;
    context.emplace(owned);
  }
  EXPECT_EQ(controller, nil);
  context->completeExtensionConfigurationRequest();
  context->cancelRequest({.domain = ErrorDomain::extension});
}

}  // namespace
}  // namespace korvan
