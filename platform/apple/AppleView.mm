#include "platform/apple/AppleView.h"

#include "platform/apple/Conversions.h"

namespace korvan {
namespace {

NSFontWeight toNSFontWeight(FontWeight weight) {
  switch (weight) {
    case FontWeight::regular:
      return NSFontWeightRegular;
    case FontWeight::semibold:
      return NSFontWeightSemibold;
  }
}

NSTextAlignment toNSTextAlignment(TextAlignment alignment) {
  switch (alignment) {
    case TextAlignment::natural:
      return NSTextAlignmentNatural;
    case TextAlignment::center:
      return NSTextAlignmentCenter;
  }
}

NSLineBreakMode toNSLineBreakMode(LineBreakMode mode) {
  switch (mode) {
    case LineBreakMode::byClipping:
      return NSLineBreakByClipping;
    case LineBreakMode::byWordWrapping:
      return NSLineBreakByWordWrapping;
  }
}

NSUserInterfaceLayoutOrientation toNSOrientation(Orientation orientation) {
  switch (orientation) {
    case Orientation::horizontal:
      return NSUserInterfaceLayoutOrientationHorizontal;
    case Orientation::vertical:
      return NSUserInterfaceLayoutOrientationVertical;
  }
}

NSLayoutAttribute toNSLayoutAttribute(LayoutAttribute attribute) {
  switch (attribute) {
    case LayoutAttribute::leading:
      return NSLayoutAttributeLeading;
    case LayoutAttribute::trailing:
      return NSLayoutAttributeTrailing;
    case LayoutAttribute::centerX:
      return NSLayoutAttributeCenterX;
    case LayoutAttribute::centerY:
      return NSLayoutAttributeCenterY;
    case LayoutAttribute::width:
      return NSLayoutAttributeWidth;
  }
}

}  // namespace

NSView* AppleView::nativeView(View* view) {
  // From a virtual base only a dynamic cast leads to the derived class. A cast to void, which gives
  // the whole object, is the one that needs no run-time type information.
  // NOLINTNEXTLINE(bugprone-casting-through-void)
  auto* const whole = static_cast<AppleView*>(dynamic_cast<void*>(view));
  return whole != nullptr ? whole->view_ : nil;
}

std::vector<std::shared_ptr<View>> AppleView::subviews() const {
  std::vector<std::shared_ptr<View>> views;
  for (NSView* subview in [view_.subviews copy]) {
    views.push_back(std::make_shared<AppleView>(subview));
  }
  return views;
}

void AppleView::removeFromSuperview() { [view_ removeFromSuperview]; }

void AppleView::addSubview(std::shared_ptr<View> view) {
  [view_ addSubview:nativeView(view.get())];
}

void AppleView::setTranslatesAutoresizingMaskIntoConstraints(bool translates) {
  view_.translatesAutoresizingMaskIntoConstraints = translates;
}

void AppleView::setFont(SystemFont font) {
  ((NSTextField*)view_).font = [NSFont systemFontOfSize:font.size
                                                 weight:toNSFontWeight(font.weight)];
}

void AppleView::setAlignment(TextAlignment alignment) {
  ((NSTextField*)view_).alignment = toNSTextAlignment(alignment);
}

void AppleView::setMaximumNumberOfLines(int lines) {
  ((NSTextField*)view_).maximumNumberOfLines = lines;
}

void AppleView::setLineBreakMode(LineBreakMode mode) {
  ((NSTextField*)view_).lineBreakMode = toNSLineBreakMode(mode);
}

void AppleView::setKeyEquivalent(std::string_view characters) {
  ((NSButton*)view_).keyEquivalent = toNSStringOrEmpty(characters);
}

void AppleView::setOrientation(Orientation orientation) {
  ((NSStackView*)view_).orientation = toNSOrientation(orientation);
}

void AppleView::setAlignment(LayoutAttribute attribute) {
  ((NSStackView*)view_).alignment = toNSLayoutAttribute(attribute);
}

void AppleView::setSpacing(double spacing) { ((NSStackView*)view_).spacing = spacing; }

}  // namespace korvan
