#include "platform/apple/AppleViews.h"

#include <array>
#include <optional>

#include <gtest/gtest.h>

#include "platform/apple/AppleView.h"
#include "platform/apple/Conversions.h"

namespace korvan {
namespace {

class AppleViewsTest : public testing::Test {
 protected:
  void SetUp() override { controller_.view = [[NSView alloc] init]; }

  template <typename Kind, typename Made>
  static Kind* native(const Made& view) {
    return (Kind*)AppleView::nativeView(view.get());
  }

  NSViewController* const controller_ = [[NSViewController alloc] init];
  AppleViews views_ { controller_, @selector(performClick:) };
};

TEST_F(AppleViewsTest, TheViewIsTheControllersOwn) {
  EXPECT_EQ(native<NSView>(views_.view()), controller_.view);
}

TEST_F(AppleViewsTest, WithoutAControllerNothingHappens) {
  std::optional<AppleViews> orphan;
  @autoreleasepool {
    orphan.emplace([[NSViewController alloc] init], @selector(performClick:));
  }
  orphan->view()->removeFromSuperview();
  orphan->view()->addSubview(views_.labelWithString("text"));
  EXPECT_TRUE(orphan->view()->subviews().empty());
}

TEST_F(AppleViewsTest, AddsAndRemovesSubviews) {
  const auto label = views_.labelWithString("text");
  views_.view()->addSubview(label);
  const auto subviews = views_.view()->subviews();
  ASSERT_EQ(subviews.size(), 1U);
  EXPECT_EQ(native<NSView>(subviews[0]), native<NSView>(label));
  subviews[0]->removeFromSuperview();
  EXPECT_TRUE(views_.view()->subviews().empty());
}

TEST_F(AppleViewsTest, ALabelIsAsItWasTold) {
  const auto label = views_.labelWithString("Couldn\u2019t");
  label->setFont({.size = 17, .weight = FontWeight::semibold});
  label->setAlignment(TextAlignment::center);
  label->setMaximumNumberOfLines(0);
  label->setLineBreakMode(LineBreakMode::byWordWrapping);

  NSTextField* const field = native<NSTextField>(label);
  EXPECT_EQ(stringOf(field.stringValue), "Couldn\u2019t");
  EXPECT_EQ(field.font.pointSize, 17);
  EXPECT_EQ(field.alignment, NSTextAlignmentCenter);
  EXPECT_EQ(field.maximumNumberOfLines, 0);
  EXPECT_EQ(field.lineBreakMode, NSLineBreakByWordWrapping);
}

TEST_F(AppleViewsTest, ATextThatIsNotUTF8ShowsAsEmpty) {
  EXPECT_EQ(stringOf(native<NSTextField>(views_.labelWithString("\xFF")).stringValue), "");
}

TEST_F(AppleViewsTest, AButtonSendsTheControllersMessage) {
  const auto button = views_.buttonWithTitle("OK", [] {});
  button->setKeyEquivalent("\r");

  NSButton* const made = native<NSButton>(button);
  EXPECT_EQ(stringOf(made.title), "OK");
  EXPECT_EQ(stringOf(made.keyEquivalent), "\r");
  EXPECT_EQ(made.target, controller_);
  EXPECT_EQ(made.action, @selector(performClick:));
}

TEST_F(AppleViewsTest, AStackViewHoldsItsViewsInOrder) {
  const auto first = views_.labelWithString("1");
  const auto second = views_.labelWithString("2");
  const auto stack = views_.stackViewWithViews({first, second});
  stack->setOrientation(Orientation::vertical);
  stack->setAlignment(LayoutAttribute::centerX);
  stack->setSpacing(14);
  stack->setTranslatesAutoresizingMaskIntoConstraints(false);

  NSStackView* const made = native<NSStackView>(stack);
  ASSERT_EQ(made.arrangedSubviews.count, 2U);
  EXPECT_EQ(made.arrangedSubviews[0], native<NSView>(first));
  EXPECT_EQ(made.arrangedSubviews[1], native<NSView>(second));
  EXPECT_EQ(made.orientation, NSUserInterfaceLayoutOrientationVertical);
  EXPECT_EQ(made.alignment, NSLayoutAttributeCenterX);
  EXPECT_EQ(made.spacing, 14);
  EXPECT_FALSE(made.translatesAutoresizingMaskIntoConstraints);
}

TEST_F(AppleViewsTest, ActivatesTheConstraints) {
  const auto view = views_.view();
  const auto label = views_.labelWithString("text");
  view->addSubview(label);
  const std::array constraints = {
      LayoutConstraint{.first = {.view = label, .attribute = LayoutAttribute::leading},
                       .relation = LayoutRelation::greaterThanOrEqual,
                       .second = LayoutAnchor{.view = view, .attribute = LayoutAttribute::leading},
                       .constant = 40},
      LayoutConstraint{.first = {.view = label, .attribute = LayoutAttribute::width},
                       .relation = LayoutRelation::lessThanOrEqual,
                       .second = std::nullopt,
                       .constant = 420},
  };
  views_.activateConstraints(constraints);

  NSView* const field = native<NSView>(label);
  ASSERT_EQ(controller_.view.constraints.count, 1U);
  EXPECT_EQ(controller_.view.constraints[0].constant, 40);
  EXPECT_EQ(controller_.view.constraints[0].relation, NSLayoutRelationGreaterThanOrEqual);
  ASSERT_EQ(field.constraints.count, 1U);
  EXPECT_EQ(field.constraints[0].constant, 420);
  EXPECT_EQ(field.constraints[0].relation, NSLayoutRelationLessThanOrEqual);
}

}  // namespace
}  // namespace korvan
