#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Views.h"

namespace korvan::lab {

/// Views that are never shown. Their texts can be read, and a button can be pressed by its key.
class LabViews final : public Views {
 public:
  LabViews();

  [[nodiscard]] std::shared_ptr<View> view() override { return root_; }
  [[nodiscard]] std::shared_ptr<Label> labelWithString(std::string_view text) override;
  [[nodiscard]] std::shared_ptr<Button> buttonWithTitle(std::string_view title,
                                                        std::function<void()> action) override;
  [[nodiscard]] std::shared_ptr<StackView> stackViewWithViews(
      std::vector<std::shared_ptr<View>> views) override;
  void activateConstraints(std::span<const LayoutConstraint> constraints) override;

  /// The texts in the controller's view, from top to bottom: each label's text, and each button's
  /// title as in "[ OK ]".
  [[nodiscard]] std::vector<std::string> texts() const;

  /// True when the controller's view has a button with this key.
  [[nodiscard]] bool hasButtonFor(std::string_view key) const;

  /// Presses the button with this key, if there is one. Must not be called from a button's action.
  void press(std::string_view key) const;

 private:
  std::shared_ptr<View> root_;
};

}  // namespace korvan::lab
