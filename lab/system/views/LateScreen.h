#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "lab/system/views/Screen.h"

namespace korvan::lab {

/// A screen that is made when the first view is asked for: most requests show none, and a screen of
/// windows takes longer to make than they take.
class LateScreen final : public Screen, private Views {
 public:
  using Maker = std::function<std::unique_ptr<Screen>()>;
  explicit LateScreen(Maker makeScreen) : makeScreen_(std::move(makeScreen)) {}

  [[nodiscard]] Views& views() override { return *this; }
  [[nodiscard]] bool noticeIsUp() const override { return screen_ && screen_->noticeIsUp(); }
  void letUserAnswer() override { screen().letUserAnswer(); }

 private:
  Screen& screen();

  [[nodiscard]] std::shared_ptr<View> view() override;
  [[nodiscard]] std::shared_ptr<Label> labelWithString(std::string_view text) override;
  [[nodiscard]] std::shared_ptr<Button> buttonWithTitle(std::string_view title,
                                                        std::function<void()> action) override;
  [[nodiscard]] std::shared_ptr<StackView> stackViewWithViews(
      std::vector<std::shared_ptr<View>> views) override;
  void activateConstraints(std::span<const LayoutConstraint> constraints) override;

  const Maker makeScreen_;
  std::unique_ptr<Screen> screen_;
};

}  // namespace korvan::lab
