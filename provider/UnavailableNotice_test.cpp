#include "provider/ControllerFixture_testing.h"

namespace korvan {
namespace {

class UnavailableNotice : public ControllerFixture {
 protected:
  using Operations = std::vector<std::string>;

  static ProviderMessage response(std::string_view description) {
    ProviderMessage made = failureResponse("unavailable", description);
    made.insert_or_assign("showUnavailableUI", true);
    return made;
  }

  void show(std::string_view description = "Korvan could not be opened.") {
    controller->showUnavailableUIForResponse(response(description));
  }
};

TEST_F(UnavailableNotice, IsBuiltElementByElementInOrder) {
  show();
  EXPECT_EQ(platform->views.operations,
            (Operations{
                "view: subviews",
                "label 1 = labelWithString Couldn\u2019t Connect to Korvan",
                "label 1: font 17 semibold",
                "label 1: alignment center",
                "label 2 = labelWithString Open Korvan, then try the Passkey request again.",
                "label 2: alignment center",
                "label 2: maximumNumberOfLines 0",
                "label 2: lineBreakMode byWordWrapping",
                "button 1 = buttonWithTitle OK",
                "button 1: keyEquivalent \\r",
                "stack 1 = stackViewWithViews [label 1] [label 2] [button 1]",
                "stack 1: orientation vertical",
                "stack 1: alignment centerX",
                "stack 1: spacing 14",
                "stack 1: translatesAutoresizingMaskIntoConstraints false",
                "view: addSubview stack 1",
                "activateConstraints",
                "  stack 1.centerX = view.centerX",
                "  stack 1.centerY = view.centerY",
                "  stack 1.leading >= view.leading + 40",
                "  stack 1.trailing <= view.trailing + -40",
                "  label 2.width <= 420",
            }));
}

TEST_F(UnavailableNotice, IsTheOnlyThingTheViewShows) {
  const auto view = platform->views.view();
  view->addSubview(platform->views.labelWithString("before"));
  view->addSubview(platform->views.labelWithString("before too"));
  show();
  EXPECT_EQ(platform->views.shown(), std::vector<std::string>{"stack 1"});
}

TEST_F(UnavailableNotice, TextsAreLookedUpByTheirEnglishForm) {
  show();
  EXPECT_EQ(platform->localizedStrings.lookedUp,
            (Operations{"Couldn\u2019t Connect to Korvan",
                        "Open Korvan, then try the Passkey request again.", "OK"}));
}

TEST_F(UnavailableNotice, TextsShowTranslatedWhereThereIsATranslation) {
  platform->localizedStrings.table["OK"] = "Gut";
  show();
  EXPECT_EQ(platform->views.operations[8], "button 1 = buttonWithTitle Gut");
  EXPECT_EQ(platform->views.operations[4],
            "label 2 = labelWithString Open Korvan, then try the Passkey request again.");
}

TEST_F(UnavailableNotice, TextsDoNotChangeWithTheResponse) {
  show("one");
  const Operations first = platform->views.operations;
  platform = std::make_shared<FakePlatform>();
  controller = std::make_shared<CredentialProviderViewController>(platform->services());
  controller->showUnavailableUIForResponse({});
  EXPECT_EQ(platform->views.operations, first);
}

TEST_F(UnavailableNotice, KeepsTheResponseUntilOKIsPressed) {
  show();
  EXPECT_EQ(controller->pendingUnavailableResponse(), response("Korvan could not be opened."));
  EXPECT_TRUE(platform->extensionContext.endings.empty());
}

TEST_F(UnavailableNotice, ResponseIsKeptBeforeTheViewIsTouched) {
  class Watching : public CredentialProviderViewController {
   public:
    Watching(std::shared_ptr<const Services> services, Operations& operations)
        : CredentialProviderViewController(std::move(services)), operations_(operations) {}
    void setPendingUnavailableResponse(std::optional<ProviderMessage> given) override {
      operations_.emplace_back("kept");
      CredentialProviderViewController::setPendingUnavailableResponse(std::move(given));
    }

   private:
    Operations& operations_;
  };
  std::make_shared<Watching>(platform->services(), platform->views.operations)
      ->showUnavailableUIForResponse(response("why"));
  ASSERT_GE(platform->views.operations.size(), 2U);
  EXPECT_EQ(platform->views.operations[0], "kept");
  EXPECT_EQ(platform->views.operations[1], "view: subviews");
}

TEST_F(UnavailableNotice, OKCancelsWithTheResponsesCodeAndDescription) {
  show();
  platform->views.pressButton();
  expectEnding(cancellation(0, "Korvan could not be opened."));
  EXPECT_EQ(controller->pendingUnavailableResponse(), std::nullopt);
}

TEST_F(UnavailableNotice, OKLeavesTheNoticeInPlace) {
  show();
  const Operations before = platform->views.operations;
  platform->views.pressButton();
  EXPECT_EQ(platform->views.operations, before);
  EXPECT_EQ(platform->views.shown(), std::vector<std::string>{"stack 1"});
}

TEST_F(UnavailableNotice, OKPressedTwiceCancelsOnce) {
  show();
  platform->views.pressButton();
  platform->views.pressButton();
  EXPECT_EQ(platform->extensionContext.endings.size(), 1U);
}

TEST_F(UnavailableNotice, OKWithoutAPendingResponseDoesNothing) {
  controller->dismissUnavailableUI();
  EXPECT_TRUE(platform->extensionContext.endings.empty());
}

TEST_F(UnavailableNotice, ResponseIsClearedBeforeTheCancellationIsSent) {
  class Watching : public CredentialProviderViewController {
   public:
    using CredentialProviderViewController::CredentialProviderViewController;
    void finishCancellationForResponse(const ProviderMessage& given) override {
      pendingAtCancellation = pendingUnavailableResponse();
      CredentialProviderViewController::finishCancellationForResponse(given);
    }
    std::optional<ProviderMessage> pendingAtCancellation = ProviderMessage();
  };
  const auto watching = std::make_shared<Watching>(platform->services());
  watching->showUnavailableUIForResponse(response("why"));
  watching->dismissUnavailableUI();
  EXPECT_EQ(watching->pendingAtCancellation, std::nullopt);
  expectEnding(cancellation(0, "why"));
}

TEST_F(UnavailableNotice, ShownTwiceReplacesTheFirstWhoseCancellationIsNeverSent) {
  show("first");
  show("second");
  EXPECT_EQ(platform->views.shown(), std::vector<std::string>{"stack 2"});
  platform->views.pressButton();
  expectEnding(cancellation(0, "second"));
}

TEST_F(UnavailableNotice, ShownTwiceTakesTheFirstAwayAndIsBuiltTheSameAgain) {
  show("first");
  Operations first;
  first.swap(platform->views.operations);
  show("second");
  Operations second = platform->views.operations;
  ASSERT_EQ(second.size(), first.size() + 1);
  EXPECT_EQ(second[0], "view: subviews");
  EXPECT_EQ(second[1], "stack 1: removeFromSuperview");
  EXPECT_EQ(second[2], "label 3 = labelWithString Couldn\u2019t Connect to Korvan");
  EXPECT_EQ(second.back(), "  label 4.width <= 420");
}

TEST_F(UnavailableNotice, ButtonDoesNotKeepTheControllerAlive) {
  show();
  const std::weak_ptr<CredentialProviderViewController> alive = controller;
  controller.reset();
  EXPECT_TRUE(alive.expired());
  platform->views.pressButton();
  EXPECT_TRUE(platform->extensionContext.endings.empty());
}

TEST_F(UnavailableNotice, ComesUpWhenTheHostCannotBeOpened) {
  platform->localSockets.peer = FakePlatform::refusing();
  platform->workspace.opens = false;
  controller->prepareInterfaceToProvideCredentialForRequest(passkeyRequest());
  runAll();
  EXPECT_EQ(platform->views.shown(), std::vector<std::string>{"stack 1"});
  platform->views.pressButton();
  expectEnding(cancellation(0, "Korvan could not be opened."));
}

}  // namespace
}  // namespace korvan
