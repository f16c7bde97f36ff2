#include "platform/apple/AppleViews.h"

#include <array>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#import <objc/runtime.h>

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
  EXPECT_TRUE([field.font isEqual:[NSFont systemFontOfSize:17 weight:NSFontWeightSemibold]]);
  EXPECT_FALSE([field.font isEqual:[NSFont systemFontOfSize:17 weight:NSFontWeightRegular]]);
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
  EXPECT_TRUE(sel_isEqual(made.action, @selector(performClick:)));
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

std::string_view nameOf(NSLayoutAttribute attribute) {
  switch (attribute) {
    case NSLayoutAttributeLeading:
      return "leading";
    case NSLayoutAttributeTrailing:
      return "trailing";
    case NSLayoutAttributeWidth:
      return "width";
    case NSLayoutAttributeCenterX:
      return "centerX";
    case NSLayoutAttributeCenterY:
      return "centerY";
    case NSLayoutAttributeNotAnAttribute:
      return "";
    default:
      return "another attribute";
  }
}

std::string_view nameOf(NSLayoutRelation relation) {
  switch (relation) {
    case NSLayoutRelationLessThanOrEqual:
      return " <= ";
    case NSLayoutRelationEqual:
      return " = ";
    case NSLayoutRelationGreaterThanOrEqual:
      return " >= ";
  }
  return " another relation ";
}

/// Such as "label.leading >= view.leading + 40", if it is active.
std::string describe(NSLayoutConstraint* constraint, NSView* view) {
  const auto item = [view](id each) {
    return each == nil ? "" : each == view ? "view." : "label.";
  };
  std::ostringstream text;
  text << (constraint.active ? "" : "not active: ") << item(constraint.firstItem)
       << nameOf(constraint.firstAttribute) << nameOf(constraint.relation)
       << item(constraint.secondItem) << nameOf(constraint.secondAttribute) << " + "
       << constraint.constant;
  return text.str();
}

TEST_F(AppleViewsTest, ActivatesTheConstraints) {
  using enum LayoutAttribute;
  using enum LayoutRelation;
  const auto view = views_.view();
  const auto label = views_.labelWithString("text");
  view->addSubview(label);
  const auto anchor = [](const std::shared_ptr<View>& of, LayoutAttribute attribute) {
    return LayoutAnchor{.view = of, .attribute = attribute};
  };
  const auto between = [&](LayoutAttribute attribute, LayoutRelation relation, double constant) {
    return LayoutConstraint{.first = anchor(label, attribute),
                            .relation = relation,
                            .second = anchor(view, attribute),
                            .constant = constant};
  };
  const auto alone = [&](LayoutRelation relation, double constant) {
    return LayoutConstraint{.first = anchor(label, width),
                            .relation = relation,
                            .second = std::nullopt,
                            .constant = constant};
  };
  views_.activateConstraints(std::array{
      between(centerX, equal, 1),
      between(centerY, equal, 2),
      between(leading, greaterThanOrEqual, 40),
      between(trailing, lessThanOrEqual, -40),
      alone(lessThanOrEqual, 420),
      alone(greaterThanOrEqual, 1),
      alone(equal, 2),
  });

  std::vector<std::string> active;
  for (NSView* owner in @[ controller_.view, native<NSView>(label) ]) {
    for (NSLayoutConstraint* constraint in owner.constraints) {
      active.push_back(describe(constraint, controller_.view));
    }
  }
  EXPECT_THAT(active,
              testing::UnorderedElementsAre(
                  "label.centerX = view.centerX + 1", "label.centerY = view.centerY + 2",
                  "label.leading >= view.leading + 40", "label.trailing <= view.trailing + -40",
                  "label.width <=  + 420", "label.width >=  + 1", "label.width =  + 2"));
}

}  // namespace
}  // namespace korvan
