#include "extension/ApplePlatform.h"

#include <gtest/gtest.h>

#import "extension/PrincipalClass.h"
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

TEST(ApplePlatform, ARequestKeepsTheObjectUntilItIsAnswered) {
  RecordingExtensionContext* const context = [[RecordingExtensionContext alloc] init];
  __weak RecordedPrincipal* watched = nil;
  @autoreleasepool {
    RecordedPrincipal* const made = [[RecordedPrincipal alloc] init];
    made.recording = context;
    watched = made;
    // Nobody listens for the tests' host application.
    [made performPasskeyRegistrationWithoutUserInteractionIfPossible:(ASPasskeyCredentialRequest*)
                                                                         NSNull.null];
  }
  runMainLoopUntil([&] { return context.error != nil; });
  EXPECT_EQ(context.error.code, 0);
  runMainLoopUntil([&] { return watched == nil; });
}

}  // namespace
}  // namespace korvan
