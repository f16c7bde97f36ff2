#include "lab/system/views/LateScreen.h"

#include <memory>

#include <gtest/gtest.h>

namespace korvan::lab {
namespace {

class LateScreenTest : public testing::Test {
 protected:
  int made_ = 0;
  LateScreen screen_{[this] {
    ++made_;
    return makeScreen(NoticeMode::pressOk);
  }};
};

TEST_F(LateScreenTest, IsNotMadeBeforeThereIsAView) {
  EXPECT_FALSE(screen_.noticeIsUp());
  (void)screen_.views();
  EXPECT_EQ(made_, 0);
}

TEST_F(LateScreenTest, IsMadeOnceAndShowsTheNotice) {
  Views& views = screen_.views();
  int presses = 0;
  const auto button = views.buttonWithTitle("OK", [&presses] { ++presses; });
  button->setKeyEquivalent("\r");
  views.view()->addSubview(views.stackViewWithViews({views.labelWithString("words"), button}));
  views.activateConstraints({});
  EXPECT_TRUE(screen_.noticeIsUp());
  screen_.letUserAnswer();
  EXPECT_EQ(presses, 1);
  EXPECT_EQ(made_, 1);
}

}  // namespace
}  // namespace korvan::lab
