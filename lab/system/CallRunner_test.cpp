#include "lab/system/CallRunner.h"

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "lab/support/TemporaryDirectory.h"
#include "lab/system/Call.h"
#include "lab/system/PasswordCredentialRequest.h"
#include "lab/system/TrustAnchor.h"

namespace korvan::lab {
namespace {

using Controller = CredentialProviderViewController;

/// A system on which nobody listens at the socket and nothing can be opened.
class CallRunnerTest : public testing::Test {
 protected:
  [[nodiscard]] CallResult run(const Call& call) const { return CallRunner(settings_).run(call); }

  TemporaryDirectory directory_;
  LabSettings settings_{.container = directory_.path(),
                        .hostApplication = std::string(LabSettings::None),
                        .trustAnchorPem = std::string(TrustAnchorPem)};
};

TEST_F(CallRunnerTest, CancelsAtOnceWithoutAContainer) {
  settings_.container = std::string(LabSettings::None);
  const CallResult result = run(configurationCall());
  const auto& canceled = std::get<Canceled>(result.outcome);
  EXPECT_EQ(canceled.error.localizedDescription(), "The Korvan App Group is unavailable.");
  EXPECT_FALSE(canceled.noticeShown);
  EXPECT_GE(result.milliseconds, 0);
}

TEST_F(CallRunnerTest, PressesOkWhenTheNoticeIsUp) {
  const CallResult result = run(configurationCall());
  const auto& canceled = std::get<Canceled>(result.outcome);
  EXPECT_TRUE(canceled.noticeShown);
  EXPECT_EQ(canceled.error.code, 0);
  EXPECT_EQ(canceled.error.localizedDescription(), "Korvan could not be opened.");
}

TEST_F(CallRunnerTest, LeavesTheNoticeWhenToldTo) {
  settings_.noticeMode = NoticeMode::leave;
  const CallResult result = run(configurationCall());
  EXPECT_TRUE(std::holds_alternative<NoticePending>(result.outcome));
  EXPECT_GT(result.milliseconds, 0);
}

TEST_F(CallRunnerTest, NeverShowsTheNoticeToWhoIsNotToBeBothered) {
  const CallResult result = run(silentRegistrationCall(nullptr));
  EXPECT_FALSE(std::get<Canceled>(result.outcome).noticeShown);
}

TEST_F(CallRunnerTest, ReturnsFromAReportOnceItsExchangeIsOver) {
  EXPECT_TRUE(std::holds_alternative<Returned>(
      run(unknownCredentialReport("example.com", Data())).outcome));
}

TEST_F(CallRunnerTest, TellsWhatAReportRefuses) {
  EXPECT_EQ(std::get<Refused>(run(unknownCredentialReport(std::nullopt, Data())).outcome).reason,
            "The argument relyingParty is nil.");
}

TEST_F(CallRunnerTest, MakesEachCallOnANewController) {
  CallRunner runner(settings_);
  std::weak_ptr<Controller> first;
  (void)runner.run({.invoke = [&](Controller& controller) {
    first = std::static_pointer_cast<Controller>(controller.shared_from_this());
    controller.prepareInterfaceForExtensionConfiguration();
  }});
  EXPECT_TRUE(first.expired());
  const CallResult second =
      runner.run(silentAssertionCall(std::make_shared<PasswordCredentialRequest>()));
  EXPECT_EQ(std::get<Canceled>(second.outcome).error.code, 101);
}

TEST_F(CallRunnerTest, RefusesATrustAnchorThatIsNotACertificate) {
  settings_.trustAnchorPem = "no certificate";
  EXPECT_THROW(CallRunner{settings_}, std::invalid_argument);
}

TEST(CallRunnerDeathTest, StopsTheProgramOnACallThatNeverEnds) {
  const LabSettings settings{.container = std::string(LabSettings::None),
                             .hostApplication = std::string(LabSettings::None),
                             .trustAnchorPem = std::string(TrustAnchorPem)};
  EXPECT_DEATH((void)CallRunner(settings).run({.invoke = [](Controller&) {}}),
               "neither completed nor canceled");
}

}  // namespace
}  // namespace korvan::lab
