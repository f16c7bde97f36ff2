#import "extension/PrincipalClass.h"

#include <latch>
#include <memory>
#include <mutex>
#include <string_view>
#include <thread>

#include <gtest/gtest.h>
#import <objc/runtime.h>

#include "extension/PartlyFakePlatform_testing.h"
#include "platform/apple/Conversions.h"
#include "platform/apple/HalfOfASurrogatePair_testing.h"
#include "platform/apple/RecordingExtensionContext_testing.h"

/// The principal class with a context and a view to look at.
@interface RecordedPrincipal : CredentialProviderViewController
@property(nonatomic, nonnull) RecordingExtensionContext* recording;
@end

@implementation RecordedPrincipal
- (ASCredentialProviderExtensionContext*)extensionContext {
  return self.recording;
}
@end

/// Parameters of a list, of which the test chooses the relying party.
@interface ListParameters : ASPasskeyCredentialRequestParameters
@end

@implementation ListParameters
- (NSString*)relyingPartyIdentifier {
  return @"list.example";
}
- (NSData*)clientDataHash {
  return [NSData dataWithBytes:"h" length:1];
}
- (ASAuthorizationPublicKeyCredentialUserVerificationPreference)userVerificationPreference {
  return @"discouraged";
}
- (NSArray<NSData*>*)allowedCredentials {
  return @[ [NSData dataWithBytes:"B" length:1], [NSData dataWithBytes:"A" length:1] ];
}
@end

namespace korvan {
namespace {

Data bytes(std::string_view text) {
  return Data::copyOf({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

NSData* nsData(std::string_view text) { return toNSData(bytes(text)); }

ASPasskeyCredentialRequest* passkeyRequest() {
  ASPasskeyCredentialIdentity* const identity =
      [[ASPasskeyCredentialIdentity alloc] initWithRelyingPartyIdentifier:@"example.org"
                                                                 userName:@"alice"
                                                             credentialID:nsData("credential")
                                                               userHandle:nsData("handle")
                                                         recordIdentifier:@"record"];
  return [[ASPasskeyCredentialRequest alloc] initWithCredentialIdentity:identity
                                                         clientDataHash:nsData("hash")
                                             userVerificationPreference:@"required"
                                                    supportedAlgorithms:@[ @(-7) ]];
}

// The platform's headers promise arguments that are not nil, but nothing enforces that.
template <typename Object>
Object* absent() {
  return nil;
}

class PrincipalClassTest : public testing::Test {
 protected:
  void SetUp() override {
    PartlyFakePlatform::onMake() = [this](const std::shared_ptr<PartlyFakePlatform>& made) {
      platform_ = made->fakes;
      platform_->localSockets.peer = platform_->answering(
          [](const PropertyListDictionary&) { return PropertyListDictionary{{"ok", false}}; });
      if (hostIsAway_) {
        platform_->localSockets.peer = FakePlatform::refusing();
        platform_->workspace.opens = false;
      }
    };
    principal_.recording = context_;
    principal_.view = [[NSView alloc] init];
  }
  void TearDown() override {
    PartlyFakePlatform::onMake() = nullptr;
    if (platform_) {
      platform_->queues.discard();
    }
  }

  /// What the host was sent by the one message that `call` sends.
  template <typename Call>
  PropertyListDictionary sentBy(const Call& call) {
    call();
    platform_->queues.runAll();
    EXPECT_EQ(platform_->requests.size(), 1U);
    return platform_->requests.empty() ? PropertyListDictionary() : platform_->requests.front();
  }

  RecordingExtensionContext* const context_ = [[RecordingExtensionContext alloc] init];
  RecordedPrincipal* principal_ = [[RecordedPrincipal alloc] init];
  std::shared_ptr<FakePlatform> platform_;
  bool hostIsAway_ = false;
};

PropertyListDictionary assertion(std::string_view type, bool allowsUserInteraction) {
  return {{"type", type},
          {"recordIdentifier", "record"},
          {"relyingPartyIdentifier", "example.org"},
          {"credentialID", bytes("credential")},
          {"allowedCredentials", PropertyListValue::Array{}},
          {"clientDataHash", bytes("hash")},
          {"userVerificationPreference", "required"},
          {"allowsUserInteraction", allowsUserInteraction}};
}

PropertyListDictionary registration(bool isConditional) {
  return {{"type", "registration"},
          {"recordIdentifier", "record"},
          {"relyingPartyIdentifier", "example.org"},
          {"userName", "alice"},
          {"userHandle", bytes("handle")},
          {"clientDataHash", bytes("hash")},
          {"supportedAlgorithms", PropertyListValue::Array{-7}},
          {"excludedCredentials", PropertyListValue::Array{}},
          {"userVerificationPreference", "required"},
          {"allowsUserInteraction", !isConditional},
          {"conditional", isConditional}};
}

// What the host is sent.

TEST_F(PrincipalClassTest, ConfigurationSynchronizes) {
  EXPECT_EQ(sentBy([this] { [principal_ prepareInterfaceForExtensionConfiguration]; }),
            (PropertyListDictionary{{"type", "synchronize"}, {"allowsUserInteraction", true}}));
}

TEST_F(PrincipalClassTest, TheCredentialListSendsItsParameters) {
  const auto sent = sentBy([this] {
    [principal_ prepareCredentialListForServiceIdentifiers:[NSArray array]
                                         requestParameters:[[ListParameters alloc] init]];
  });
  EXPECT_EQ(sent, (PropertyListDictionary{
                      {"type", "interactiveAssertion"},
                      {"recordIdentifier", ""},
                      {"relyingPartyIdentifier", "list.example"},
                      {"credentialID", Data()},
                      {"allowedCredentials", PropertyListValue::Array{bytes("B"), bytes("A")}},
                      {"clientDataHash", bytes("h")},
                      {"userVerificationPreference", "discouraged"},
                      {"allowsUserInteraction", true}}));
}

TEST_F(PrincipalClassTest, TheSilentAssertionIsNotInteractive) {
  EXPECT_EQ(sentBy([this] {
              [principal_ provideCredentialWithoutUserInteractionForRequest:passkeyRequest()];
            }),
            assertion("assertion", false));
}

TEST_F(PrincipalClassTest, TheInteractiveAssertionIsInteractive) {
  EXPECT_EQ(sentBy([this] {
              [principal_ prepareInterfaceToProvideCredentialForRequest:passkeyRequest()];
            }),
            assertion("interactiveAssertion", true));
}

TEST_F(PrincipalClassTest, TheInteractiveRegistrationIsNotConditional) {
  EXPECT_EQ(
      sentBy([this] { [principal_ prepareInterfaceForPasskeyRegistration:passkeyRequest()]; }),
      registration(false));
}

TEST_F(PrincipalClassTest, TheSilentRegistrationIsConditional) {
  EXPECT_EQ(sentBy([this] {
              [principal_
                  performPasskeyRegistrationWithoutUserInteractionIfPossible:passkeyRequest()];
            }),
            registration(true));
}

TEST_F(PrincipalClassTest, AReportOfANewNameSendsIt) {
  const auto sent = sentBy([this] {
    [principal_ reportPublicKeyCredentialUpdateForRelyingParty:@"example.org"
                                                    userHandle:nsData("handle")
                                                       newName:@"bob"];
  });
  EXPECT_EQ(sent, (PropertyListDictionary{{"type", "updateUserName"},
                                          {"relyingPartyIdentifier", "example.org"},
                                          {"userHandle", bytes("handle")},
                                          {"userName", "bob"},
                                          {"allowsUserInteraction", false}}));
}

TEST_F(PrincipalClassTest, ANameThatUTF8CannotHoldIsSentWithAReplacement) {
  const auto sent = sentBy([this] {
    [principal_ reportPublicKeyCredentialUpdateForRelyingParty:@"example.org"
                                                    userHandle:nsData("handle")
                                                       newName:[[HalfOfASurrogatePair alloc] init]];
  });
  EXPECT_EQ(sent.at("userName"), "\uFFFD");
}

TEST_F(PrincipalClassTest, AReportOfAnUnknownCredentialSendsItsID) {
  const auto sent = sentBy([this] {
    [principal_ reportUnknownPublicKeyCredentialForRelyingParty:@"example.org"
                                                   credentialID:nsData("credential")];
  });
  EXPECT_EQ(sent, (PropertyListDictionary{{"type", "removeUnknownCredential"},
                                          {"relyingPartyIdentifier", "example.org"},
                                          {"credentialID", bytes("credential")},
                                          {"allowsUserInteraction", false}}));
}

TEST_F(PrincipalClassTest, AReportOfTheAcceptedCredentialsSendsTheListAsItStands) {
  const auto sent = sentBy([this] {
    [principal_
        reportAllAcceptedPublicKeyCredentialsForRelyingParty:@"example.org"
                                                  userHandle:nsData("handle")
                                       acceptedCredentialIDs:@[
                                         nsData("B"), nsData("A"), (NSData*)@"text", nsData("B")
                                       ]];
  });
  EXPECT_EQ(sent, (PropertyListDictionary{
                      {"type", "acceptedCredentials"},
                      {"relyingPartyIdentifier", "example.org"},
                      {"userHandle", bytes("handle")},
                      {"acceptedCredentialIDs",
                       PropertyListValue::Array{bytes("B"), bytes("A"), "text", bytes("B")}},
                      {"allowsUserInteraction", false}}));
}

// What is not sent.

TEST_F(PrincipalClassTest, ARequestThatIsNotAPasskeyRequestIsCanceledAtOnce) {
  [principal_ provideCredentialWithoutUserInteractionForRequest:(id)NSNull.null];
  EXPECT_EQ(stringOf(context_.error.domain), stringOf(ASExtensionErrorDomain));
  EXPECT_EQ(context_.error.code, 101);
  [principal_ prepareInterfaceForPasskeyRegistration:(id)NSNull.null];
  EXPECT_EQ(context_.error.code, 0);
  context_.error = nil;
  [principal_ prepareInterfaceToProvideCredentialForRequest:(id)NSNull.null];
  EXPECT_EQ(context_.error.code, 101);
  EXPECT_TRUE(platform_->localSockets.connections.empty());
}

/// The exception that `call` raises, or nil.
template <typename Call>
NSException* raisedBy(const Call& call) {
  @try {
    call();
    return nil;
  } @catch (NSException* exception) {
    return exception;
  }
}

TEST_F(PrincipalClassTest, AReportWithANilArgumentRaises) {
  const auto expectRefusal = [](std::string_view reason, NSException* raised) {
    EXPECT_EQ(stringOf(raised.name), stringOf(NSInvalidArgumentException));
    EXPECT_EQ(stringOf(raised.reason), reason);
  };
  expectRefusal("The argument relyingParty is nil.", raisedBy([this] {
                  [principal_ reportUnknownPublicKeyCredentialForRelyingParty:absent<NSString>()
                                                                 credentialID:nsData("")];
                }));
  expectRefusal("The argument userHandle is nil.", raisedBy([this] {
                  [principal_ reportPublicKeyCredentialUpdateForRelyingParty:@"example.org"
                                                                  userHandle:absent<NSData>()
                                                                     newName:@"alice"];
                }));
  expectRefusal("The argument acceptedCredentialIDs is nil.", raisedBy([this] {
                  [principal_
                      reportAllAcceptedPublicKeyCredentialsForRelyingParty:@"example.org"
                                                                userHandle:nsData("")
                                                     acceptedCredentialIDs:absent<NSArray>()];
                }));
}

TEST_F(PrincipalClassTest, WhatAFrameworkRaisesPassesToTheCaller) {
  context_.exception = [NSException exceptionWithName:NSInvalidArgumentException
                                               reason:@"why"
                                             userInfo:nil];
  EXPECT_EQ(
      raisedBy([this] { [principal_ prepareInterfaceForPasskeyRegistration:(id)NSNull.null]; }),
      context_.exception);
}

// The notice.

TEST_F(PrincipalClassTest, OKCancelsTheRequestWhoseNoticeIsShown) {
  hostIsAway_ = true;
  [principal_ prepareInterfaceToProvideCredentialForRequest:passkeyRequest()];
  platform_->queues.runAll();
  ASSERT_EQ(principal_.view.subviews.count, 1U);
  EXPECT_EQ(context_.error, nil);
  [principal_ dismissUnavailableUI:nil];
  EXPECT_EQ(context_.error.code, 0);
  EXPECT_EQ(stringOf(context_.error.localizedDescription), "Korvan could not be opened.");
}

TEST_F(PrincipalClassTest, TheNoticesButtonSendsOKToTheObject) {
  hostIsAway_ = true;
  [principal_ prepareInterfaceToProvideCredentialForRequest:passkeyRequest()];
  platform_->queues.runAll();
  ASSERT_EQ(principal_.view.subviews.count, 1U);
  NSStackView* const stack = principal_.view.subviews[0];
  NSButton* const button = stack.arrangedSubviews[2];
  EXPECT_EQ(button.target, principal_);
  EXPECT_TRUE(sel_isEqual(button.action, @selector(dismissUnavailableUI:)));
}

TEST_F(PrincipalClassTest, OKWithoutANoticeDoesNothing) {
  [principal_ dismissUnavailableUI:nil];
  EXPECT_EQ(context_.error, nil);
}

// The object and its controller.

TEST_F(PrincipalClassTest, ARequestKeepsTheObjectUntilItIsAnswered) {
  __weak RecordedPrincipal* watched = principal_;
  @autoreleasepool {
    [principal_ performPasskeyRegistrationWithoutUserInteractionIfPossible:
                    absent<ASPasskeyCredentialRequest>()];
    principal_ = nil;
  }
  @autoreleasepool {
    EXPECT_NE(watched, nil);
  }
  @autoreleasepool {
    platform_->queues.runAll();
  }
  EXPECT_EQ(context_.error.code, 0);
  EXPECT_EQ(watched, nil);
}

TEST_F(PrincipalClassTest, AReportInTheBackgroundAndTheMainThreadMakeOneController) {
  constexpr int Rounds = 20;
  std::mutex mutex;
  int made = 0;
  PartlyFakePlatform::onMake() = [&](const std::shared_ptr<PartlyFakePlatform>& /*platform*/) {
    {
      const std::scoped_lock lock(mutex);
      ++made;
    }
    // Gives the other thread time to get here too.
    for (int turn = 0; turn < 1000; ++turn) {
      std::this_thread::yield();
    }
  };
  for (int round = 0; round < Rounds; ++round) {
    RecordedPrincipal* const principal = [[RecordedPrincipal alloc] init];
    std::latch bothAreReady(2);
    std::thread report([&] {
      @autoreleasepool {
        bothAreReady.arrive_and_wait();
        [principal reportUnknownPublicKeyCredentialForRelyingParty:@"example.org"
                                                      credentialID:nsData("credential")];
      }
    });
    bothAreReady.arrive_and_wait();
    [principal dismissUnavailableUI:nil];
    report.join();
  }
  EXPECT_EQ(made, Rounds);
}

}  // namespace
}  // namespace korvan
