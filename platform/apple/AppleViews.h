#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#import <AppKit/AppKit.h>

#include "platform/Views.h"

namespace korvan {

/// AppKit's views inside one view controller's view. All views given to this object or to its views
/// were made by an AppleViews. A text that is not UTF-8 shows as empty.
class AppleViews final : public Views {
 public:
  /// Every button sends `buttonAction` to `controller`, which is neither owned by this object nor
  /// by the buttons.
  AppleViews(NSViewController* _Nonnull controller, SEL _Nonnull buttonAction);

  /// Always the same view, in a new wrapping. Once the controller has gone, a wrapping of nil, on
  /// which everything does nothing.
  [[nodiscard]] std::shared_ptr<View> view() override;

  [[nodiscard]] std::shared_ptr<Label> labelWithString(std::string_view text) override;

  /// `action` is dropped: the message that the button sends is the controller's own way to do it.
  [[nodiscard]] std::shared_ptr<Button> buttonWithTitle(std::string_view title,
                                                        std::function<void()> action) override;

  [[nodiscard]] std::shared_ptr<StackView> stackViewWithViews(
      std::vector<std::shared_ptr<View>> views) override;

  /// All in one call. Without a second anchor only a width can be constrained; other attributes
  /// are then left alone.
  void activateConstraints(std::span<const LayoutConstraint> constraints) override;

 private:
  __weak NSViewController* _Nullable const controller_;
  const SEL _Nonnull buttonAction_;
};

}  // namespace korvan
