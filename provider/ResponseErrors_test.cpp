#include "provider/ControllerFixture_testing.h"

namespace korvan {
namespace {

class ResponseErrors : public ControllerFixture {
 protected:
  std::int64_t codeFor(const PropertyListValue& errorCode) {
    return static_cast<std::int64_t>(
        controller->extensionErrorCodeForResponse({{"errorCode", errorCode}}));
  }
};

TEST_F(ResponseErrors, EachErrorCodeBecomesThePlatformsCode) {
  EXPECT_EQ(codeFor("vaultLocked"), 100);
  EXPECT_EQ(codeFor("userInteractionRequired"), 100);
  EXPECT_EQ(codeFor("userCanceled"), 1);
  EXPECT_EQ(codeFor("credentialNotFound"), 101);
  EXPECT_EQ(codeFor("matchedExcludedCredential"), 102);
  EXPECT_EQ(codeFor("failed"), 0);
  EXPECT_EQ(codeFor("unavailable"), 0);
}

TEST_F(ResponseErrors, UnknownOrMissingErrorCodeBecomesFailed) {
  EXPECT_EQ(codeFor("somethingElse"), 0);
  EXPECT_EQ(codeFor("credentialIdentityNotFound"), 0) << "the platform's word, not the host's";
  EXPECT_EQ(codeFor(""), 0);
  EXPECT_EQ(controller->extensionErrorCodeForResponse({}), ExtensionErrorCode::failed);
}

TEST_F(ResponseErrors, ComparisonIsExactAndCaseSensitive) {
  for (const char* const word : {"UserCanceled", "usercanceled", "userCanceled ", " userCanceled",
                                 "userCancel", "VaultLocked", "UserInteractionRequired",
                                 "CredentialNotFound", "MatchedExcludedCredential"}) {
    EXPECT_EQ(codeFor(word), 0) << word;
  }
}

TEST_F(ResponseErrors, ErrorCodeThatIsNotAStringCountsAsAbsent) {
  EXPECT_EQ(codeFor(100), 0);
  EXPECT_EQ(codeFor(bytes("vaultLocked")), 0);
}

TEST_F(ResponseErrors, MatchedExcludedCredentialIsFailedBeforeMacOS15) {
  platform->operatingSystem.version = {.major = 14, .minor = 7, .patch = 1};
  EXPECT_EQ(codeFor("matchedExcludedCredential"), 0);
  platform->operatingSystem.version = {.major = 15, .minor = 0, .patch = 0};
  EXPECT_EQ(codeFor("matchedExcludedCredential"), 102);
  platform->operatingSystem.version = {.major = 26};
  EXPECT_EQ(codeFor("matchedExcludedCredential"), 102);
}

TEST_F(ResponseErrors, VersionIsAskedForOnlyWhereItMatters) {
  for (const char* const code :
       {"vaultLocked", "userInteractionRequired", "userCanceled", "credentialNotFound", "failed"}) {
    static_cast<void>(codeFor(code));
  }
  EXPECT_TRUE(platform->operatingSystem.questions.empty());
  static_cast<void>(codeFor("matchedExcludedCredential"));
  EXPECT_EQ(platform->operatingSystem.questions,
            (std::vector<OperatingSystemVersion>{{.major = 15, .minor = 0, .patch = 0}}));
}

TEST_F(ResponseErrors, CancellationCarriesTheCodeAndTheDescription) {
  controller->cancelForResponse(failureResponse("userCanceled", "The user said no."));
  expectEnding(cancellation(1, "The user said no."));
}

TEST_F(ResponseErrors, NoDescriptionLeavesTheUserInfoEmptyButThere) {
  for (const ProviderMessage& response :
       {failureResponse("failed", ""), {{"ok", false}}, {{"errorDescription", 7}}}) {
    platform->extensionContext.endings.clear();
    controller->cancelForResponse(response);
    expectEnding(cancellation(0, std::nullopt));
  }
}

TEST_F(ResponseErrors, WithoutTheNoticeTheCancellationIsImmediateAndTheViewUntouched) {
  using Value = PropertyListValue;
  for (const std::optional<Value>& flag : {std::optional<Value>(), std::optional<Value>(false),
                                           std::optional<Value>(0), std::optional<Value>("true")}) {
    platform->extensionContext.endings.clear();
    ProviderMessage response = failureResponse("failed", "why");
    if (flag) {
      response.insert_or_assign("showUnavailableUI", *flag);
    }
    controller->cancelForResponse(response);
    expectEnding(cancellation(0, "why"));
    EXPECT_TRUE(platform->views.operations.empty());
    EXPECT_EQ(controller->pendingUnavailableResponse(), std::nullopt);
  }
}

TEST_F(ResponseErrors, WithTheNoticeTheCancellationWaitsForOK) {
  ProviderMessage response = failureResponse("userInteractionRequired", "Unlock it.");
  response.insert_or_assign("showUnavailableUI", true);
  controller->cancelForResponse(response);
  EXPECT_TRUE(platform->extensionContext.endings.empty());
  EXPECT_EQ(platform->views.shown(), std::vector<std::string>{"stack 1"});
  platform->views.pressButton();
  expectEnding(cancellation(100, "Unlock it."));
}

TEST_F(ResponseErrors, CodeIsAskedOfTheControllerItself) {
  class Insisting : public CredentialProviderViewController {
   public:
    using CredentialProviderViewController::CredentialProviderViewController;
    [[nodiscard]] ExtensionErrorCode extensionErrorCodeForResponse(
        const ProviderMessage&) const override {
      return ExtensionErrorCode::userCanceled;
    }
  };
  std::make_shared<Insisting>(platform->services())
      ->finishCancellationForResponse(failureResponse("failed", "why"));
  expectEnding(cancellation(1, "why"));
}

}  // namespace
}  // namespace korvan
