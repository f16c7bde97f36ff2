#pragma once

#include <memory>
#include <string_view>
#include <vector>

#import <AppKit/AppKit.h>

#include "platform/Views.h"

namespace korvan {

/// Owns any kind of AppKit view, whose class decides which of the operations it supports. On nil
/// every operation does nothing.
class AppleView final : public Label, public Button, public StackView {
 public:
  explicit AppleView(NSView* _Nullable view) : view_(view) {}

  /// The AppKit view behind `view`, which must be an AppleView or null; nil for null.
  [[nodiscard]] static NSView* _Null_unspecified nativeView(View* _Nullable view);

  [[nodiscard]] std::vector<std::shared_ptr<View>> subviews() const override;
  void removeFromSuperview() override;
  void addSubview(std::shared_ptr<View> view) override;
  void setTranslatesAutoresizingMaskIntoConstraints(bool translates) override;

  // A label's.
  void setFont(SystemFont font) override;
  void setAlignment(TextAlignment alignment) override;
  void setMaximumNumberOfLines(int lines) override;
  void setLineBreakMode(LineBreakMode mode) override;

  // A button's.
  void setKeyEquivalent(std::string_view characters) override;

  // A stack view's.
  void setOrientation(Orientation orientation) override;
  void setAlignment(LayoutAttribute attribute) override;
  void setSpacing(double spacing) override;

 private:
  NSView* _Nullable const view_;
};

}  // namespace korvan
