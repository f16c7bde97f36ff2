#include "provider/ControllerFixture_testing.h"

namespace korvan {
namespace {

using ConfigurationSynchronization = ControllerFixture;

TEST_F(ConfigurationSynchronization, SendsNothingButTypeAndInteraction) {
  hostAnswers({{"ok", true}});
  controller->prepareInterfaceForExtensionConfiguration();
  runAll();
  EXPECT_EQ(sentRequest(),
            (ProviderMessage{{"type", "synchronize"}, {"allowsUserInteraction", true}}));
}

TEST_F(ConfigurationSynchronization, FailureIsCanceledWithItsCodeAndDescription) {
  hostAnswers(failureResponse("userCanceled", "The user canceled."));
  controller->prepareInterfaceForExtensionConfiguration();
  runAll();
  expectEnding(cancellation(1, "The user canceled."));
  EXPECT_TRUE(platform->views.operations.empty());
}

TEST_F(ConfigurationSynchronization, WhateverElseTheHostAnswersIsNotRead) {
  hostAnswers({{"ok", true}, {"errorCode", "failed"}, {"showUnavailableUI", true}});
  controller->prepareInterfaceForExtensionConfiguration();
  runAll();
  expectEnding(FakeExtensionContext::ConfigurationCompleted());
  EXPECT_TRUE(platform->views.operations.empty());
}

TEST_F(ConfigurationSynchronization, HostThatCannotBeOpenedBringsTheNoticeAndOKCancels) {
  platform->localSockets.peer = FakePlatform::refusing();
  platform->workspace.opens = false;
  controller->prepareInterfaceForExtensionConfiguration();
  runAll();
  EXPECT_EQ(platform->workspace.openedURLs.size(), 1U);
  EXPECT_EQ(platform->views.shown(), std::vector<std::string>{"stack 1"});
  EXPECT_TRUE(platform->extensionContext.endings.empty());
  platform->views.pressButton();
  expectEnding(cancellation(0, "Korvan could not be opened."));
}

}  // namespace
}  // namespace korvan
