#include "lab/system/views/LabViews.h"

#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "lab/system/views/Screen.h"

namespace korvan::lab {
namespace {

constexpr std::string_view ReturnKey = "\r";

std::shared_ptr<Button> buttonFor(Views& views, std::string_view key, int& presses) {
  auto button = views.buttonWithTitle("OK", [&presses] { ++presses; });
  button->setKeyEquivalent(key);
  return button;
}

TEST(LabViews, AlwaysHaveTheSameView) {
  LabViews views;
  EXPECT_NE(views.view(), nullptr);
  EXPECT_EQ(views.view(), views.view());
}

TEST(LabViews, ListSubviewsInTheOrderInWhichTheyWereAdded) {
  LabViews views;
  const auto title = views.labelWithString("title");
  const auto message = views.labelWithString("message");
  const auto stack = views.stackViewWithViews({title, message});
  views.view()->addSubview(stack);
  EXPECT_EQ(views.view()->subviews(), (std::vector<std::shared_ptr<View>>{stack}));
  EXPECT_EQ(stack->subviews(), (std::vector<std::shared_ptr<View>>{title, message}));
}

TEST(LabViews, MoveAViewThatIsAddedElsewhere) {
  LabViews views;
  const auto label = views.labelWithString("label");
  const auto stack = views.stackViewWithViews({label});
  views.view()->addSubview(label);
  EXPECT_TRUE(stack->subviews().empty());
  EXPECT_EQ(views.view()->subviews().size(), 1U);
}

TEST(LabViews, FindAButtonByItsKeyWhereverItIsShown) {
  LabViews views;
  int presses = 0;
  const auto button = buttonFor(views, ReturnKey, presses);
  EXPECT_FALSE(views.hasButtonFor(ReturnKey));
  views.view()->addSubview(
      views.stackViewWithViews({views.labelWithString("x"), views.stackViewWithViews({button})}));
  EXPECT_TRUE(views.hasButtonFor(ReturnKey));
  EXPECT_FALSE(views.hasButtonFor("x"));
}

TEST(LabViews, PressTheButtonThatHasTheKeyAndNoOther) {
  LabViews views;
  int presses = 0;
  int otherPresses = 0;
  views.view()->addSubview(buttonFor(views, "x", otherPresses));
  views.view()->addSubview(buttonFor(views, ReturnKey, presses));
  views.press(ReturnKey);
  EXPECT_EQ(presses, 1);
  EXPECT_EQ(otherPresses, 0);
}

TEST(LabViews, ReadAsTextFromTopToBottom) {
  LabViews views;
  int presses = 0;
  EXPECT_TRUE(views.texts().empty());
  views.view()->addSubview(views.stackViewWithViews(
      {views.labelWithString("Title"), views.labelWithString("M\u00e9ssage"),
       views.buttonWithTitle("OK", [&presses] { ++presses; })}));
  EXPECT_EQ(views.texts(), (std::vector<std::string>{"Title", "M\u00e9ssage", "[ OK ]"}));
  EXPECT_EQ(presses, 0);
}

TEST(LabViews, PressNothingOnceTheButtonIsRemoved) {
  LabViews views;
  int presses = 0;
  const auto button = buttonFor(views, ReturnKey, presses);
  views.view()->addSubview(button);
  button->removeFromSuperview();
  views.press(ReturnKey);
  EXPECT_EQ(presses, 0);
  EXPECT_TRUE(views.view()->subviews().empty());
}

TEST(Screen, PressesTheNoticesButtonOrLeavesIt) {
  for (const NoticeMode mode : {NoticeMode::pressOk, NoticeMode::leave}) {
    const auto screen = makeScreen(mode);
    EXPECT_FALSE(screen->noticeIsUp());
    int presses = 0;
    screen->views().view()->addSubview(buttonFor(screen->views(), ReturnKey, presses));
    EXPECT_TRUE(screen->noticeIsUp());
    screen->letUserAnswer();
    EXPECT_EQ(presses, mode == NoticeMode::pressOk ? 1 : 0);
  }
}

}  // namespace
}  // namespace korvan::lab
