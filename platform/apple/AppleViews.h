#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#import <AppKit/AppKit.h>

#include "platform/Views.h"

namespace korvan {

/// AppKit views inside a view controller's view. All views passed to this object or to its views
/// must have been made by an AppleViews. A text that is not UTF-8 shows as empty.
class AppleViews final : public Views {
 public:
  /// Every button sends `buttonAction` to `controller`. Neither this object nor the buttons own it.
  AppleViews(NSViewController* _Nonnull controller, SEL _Nonnull buttonAction);

  /// A new wrapper around the controller's view. Once the controller is gone, a wrapper around nil.
  [[nodiscard]] std::shared_ptr<View> view() override;

  [[nodiscard]] std::shared_ptr<Label> labelWithString(std::string_view text) override;

  /// Drops `action`: the button sends `buttonAction` instead.
  [[nodiscard]] std::shared_ptr<Button> buttonWithTitle(std::string_view title,
                                                        std::function<void()> action) override;

  [[nodiscard]] std::shared_ptr<StackView> stackViewWithViews(
      std::vector<std::shared_ptr<View>> views) override;

  /// Activates all constraints in one call. Without a second anchor the first must be a width.
  void activateConstraints(std::span<const LayoutConstraint> constraints) override;

 private:
  __weak NSViewController* _Nullable const controller_;
  const SEL _Nonnull buttonAction_;
};

}  // namespace korvan
