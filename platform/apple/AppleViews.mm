#include "platform/apple/AppleViews.h"

#include "platform/apple/AppleView.h"
#include "platform/apple/Conversions.h"

namespace korvan {
namespace {

NSLayoutAnchor* toNSLayoutAnchor(const LayoutAnchor& anchor) {
  NSView* const view = AppleView::nativeView(anchor.view.get());
  switch (anchor.attribute) {
    case LayoutAttribute::leading:
      return view.leadingAnchor;
    case LayoutAttribute::trailing:
      return view.trailingAnchor;
    case LayoutAttribute::centerX:
      return view.centerXAnchor;
    case LayoutAttribute::centerY:
      return view.centerYAnchor;
    case LayoutAttribute::width:
      return view.widthAnchor;
  }
}

NSLayoutConstraint* betweenAnchors(NSLayoutAnchor* first, LayoutRelation relation,
                                   NSLayoutAnchor* second, double constant) {
  switch (relation) {
    case LayoutRelation::equal:
      return [first constraintEqualToAnchor:second constant:constant];
    case LayoutRelation::lessThanOrEqual:
      return [first constraintLessThanOrEqualToAnchor:second constant:constant];
    case LayoutRelation::greaterThanOrEqual:
      return [first constraintGreaterThanOrEqualToAnchor:second constant:constant];
  }
}

NSLayoutConstraint* toConstant(NSLayoutDimension* dimension, LayoutRelation relation,
                               double constant) {
  switch (relation) {
    case LayoutRelation::equal:
      return [dimension constraintEqualToConstant:constant];
    case LayoutRelation::lessThanOrEqual:
      return [dimension constraintLessThanOrEqualToConstant:constant];
    case LayoutRelation::greaterThanOrEqual:
      return [dimension constraintGreaterThanOrEqualToConstant:constant];
  }
}

NSLayoutConstraint* toNSLayoutConstraint(const LayoutConstraint& constraint) {
  NSLayoutAnchor* const first = toNSLayoutAnchor(constraint.first);
  if (constraint.second) {
    return betweenAnchors(first, constraint.relation, toNSLayoutAnchor(*constraint.second),
                          constraint.constant);
  }
  // Not checked: a check would link to the class, which the system's library may not export.
  return toConstant((NSLayoutDimension*)first, constraint.relation, constraint.constant);
}

}  // namespace

AppleViews::AppleViews(NSViewController* controller, SEL buttonAction)
    : controller_(controller), buttonAction_(buttonAction) {}

std::shared_ptr<View> AppleViews::view() { return std::make_shared<AppleView>(controller_.view); }

std::shared_ptr<Label> AppleViews::labelWithString(std::string_view text) {
  return std::make_shared<AppleView>([NSTextField labelWithString:toNSStringOrEmpty(text)]);
}

std::shared_ptr<Button> AppleViews::buttonWithTitle(std::string_view title,
                                                    std::function<void()> /*action*/) {
  return std::make_shared<AppleView>([NSButton buttonWithTitle:toNSStringOrEmpty(title)
                                                        target:controller_
                                                        action:buttonAction_]);
}

std::shared_ptr<StackView> AppleViews::stackViewWithViews(
    std::vector<std::shared_ptr<View>> views) {
  NSMutableArray<NSView*>* const arranged = [NSMutableArray arrayWithCapacity:views.size()];
  for (const auto& view : views) {
    [arranged addObject:AppleView::nativeView(view.get())];
  }
  return std::make_shared<AppleView>([NSStackView stackViewWithViews:arranged]);
}

void AppleViews::activateConstraints(std::span<const LayoutConstraint> constraints) {
  NSMutableArray<NSLayoutConstraint*>* const made =
      [NSMutableArray arrayWithCapacity:constraints.size()];
  for (const LayoutConstraint& constraint : constraints) {
    if (NSLayoutConstraint* const converted = toNSLayoutConstraint(constraint)) {
      [made addObject:converted];
    }
  }
  [NSLayoutConstraint activateConstraints:made];
}

}  // namespace korvan
