#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Views.h"

namespace korvan::lab {

/// A tree of views that nobody sees. It can be read, searched and its button pressed as by a key.
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

  /// What the controller's view shows, as plain text from top to bottom: each label's text, and
  /// each button as "[ OK ]".
  [[nodiscard]] std::vector<std::string> texts() const;

  /// True when the controller's view shows a button that the key presses.
  [[nodiscard]] bool hasButtonFor(std::string_view key) const;

  /// Presses the shown button that has the key, if there is one. Not called by a view's action.
  void press(std::string_view key) const;

 private:
  std::shared_ptr<View> root_;
};

}  // namespace korvan::lab
