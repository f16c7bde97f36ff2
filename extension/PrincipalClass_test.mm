#import "extension/PrincipalClass.h"

#include <gtest/gtest.h>

#include "platform/apple/Conversions.h"
#include "platform/apple/RecordingExtensionContext_testing.h"
#include "platform/apple/RunLoop_testing.h"

/// The principal class with a context to look at.
@interface RecordedPrincipal : CredentialProviderViewController
@property(nonatomic) RecordingExtensionContext* recording;
@end

@implementation RecordedPrincipal
- (ASCredentialProviderExtensionContext*)extensionContext {
  return self.recording;
}
@end

namespace korvan {
namespace {

class PrincipalClassTest : public testing::Test {
 protected:
  [[nodiscard]] RecordedPrincipal* principal() const {
    RecordedPrincipal* const made = [[RecordedPrincipal alloc] init];
    made.recording = context_;
    return made;
  }

  RecordingExtensionContext* const context_ = [[RecordingExtensionContext alloc] init];
};

/// The reason of the NSInvalidArgumentException that `report` raises.
template <typename Report>
std::optional<std::string> refusalOf(const Report& report) {
  @try {
    report();
    return std::nullopt;
  } @catch (NSException* exception) {
    EXPECT_EQ(stringOf(exception.name), stringOf(NSInvalidArgumentException));
    return stringOf(exception.reason);
  }
}

// The platform's headers promise arguments that are not nil; the platform is not held to it.
template <typename Object>
Object* absent() {
  return nil;
}

TEST_F(PrincipalClassTest, ARequestThatIsNotAPasskeyRequestIsCanceledAtOnce) {
  [principal() provideCredentialWithoutUserInteractionForRequest:(id)NSNull.null];
  EXPECT_EQ(stringOf(context_.error.domain), stringOf(ASExtensionErrorDomain));
  EXPECT_EQ(context_.error.code, 101);
  [principal() prepareInterfaceForPasskeyRegistration:(id)NSNull.null];
  EXPECT_EQ(context_.error.code, 0);
}

TEST_F(PrincipalClassTest, ARequestKeepsTheObjectUntilItIsAnswered) {
  __weak RecordedPrincipal* watched = nil;
  @autoreleasepool {
    RecordedPrincipal* const made = principal();
    watched = made;
    // Nobody listens for the tests' host application.
    [made performPasskeyRegistrationWithoutUserInteractionIfPossible:
              absent<ASPasskeyCredentialRequest>()];
  }
  runMainLoopUntil([&] { return context_.error != nil; });
  EXPECT_EQ(context_.error.code, 0);
  runMainLoopUntil([&] { return watched == nil; });
}

TEST_F(PrincipalClassTest, OKWithoutANoticeDoesNothing) {
  [principal() dismissUnavailableUI:nil];
  EXPECT_EQ(context_.error, nil);
}

TEST_F(PrincipalClassTest, AReportWithANilArgumentRaises) {
  RecordedPrincipal* const made = principal();
  NSData* const bytes = toNSData(Data());
  EXPECT_EQ(refusalOf([=] {
              [made reportUnknownPublicKeyCredentialForRelyingParty:absent<NSString>()
                                                       credentialID:bytes];
            }),
            "The argument relyingParty is nil.");
  EXPECT_EQ(refusalOf([=] {
              [made reportPublicKeyCredentialUpdateForRelyingParty:@"example.org"
                                                        userHandle:absent<NSData>()
                                                           newName:@"alice"];
            }),
            "The argument userHandle is nil.");
  EXPECT_EQ(refusalOf([=] {
              [made reportAllAcceptedPublicKeyCredentialsForRelyingParty:@"example.org"
                                                              userHandle:bytes
                                                   acceptedCredentialIDs:absent<NSArray>()];
            }),
            "The argument acceptedCredentialIDs is nil.");
}

TEST_F(PrincipalClassTest, AReportReturnsWithoutAnAnswer) {
  EXPECT_EQ(refusalOf([this] {
              [principal() reportUnknownPublicKeyCredentialForRelyingParty:@"example.org"
                                                              credentialID:toNSData(Data())];
            }),
            std::nullopt);
}

}  // namespace
}  // namespace korvan
