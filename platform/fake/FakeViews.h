#pragma once

#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Views.h"

namespace korvan {

/// Views that draw nothing, and record every operation in words. The controller's view is "view",
/// the others are named by kind and number: "label 1".
class FakeViews : public Views {
 public:
  FakeViews();

  [[nodiscard]] std::shared_ptr<View> view() override { return root_; }
  [[nodiscard]] std::shared_ptr<Label> labelWithString(std::string_view text) override;
  [[nodiscard]] std::shared_ptr<Button> buttonWithTitle(std::string_view title,
                                                        std::function<void()> action) override;
  [[nodiscard]] std::shared_ptr<StackView> stackViewWithViews(
      std::vector<std::shared_ptr<View>> views) override;
  void activateConstraints(std::span<const LayoutConstraint> constraints) override;

  /// Presses the last button made.
  void pressButton() const;
  /// The names of the view's subviews.
  [[nodiscard]] std::vector<std::string> shown() const;

  std::vector<std::string> operations;

 private:
  std::string nextName(const std::string& kind);

  std::map<std::string, int> made_;
  std::function<void()> lastAction_;
  std::shared_ptr<View> root_;
};

}  // namespace korvan
