#include "lab/system/views/LateScreen.h"

#include <utility>

namespace korvan::lab {

Screen& LateScreen::screen() {
  if (!screen_) {
    screen_ = makeScreen_();
  }
  return *screen_;
}

std::shared_ptr<View> LateScreen::view() { return screen().views().view(); }

std::shared_ptr<Label> LateScreen::labelWithString(std::string_view text) {
  return screen().views().labelWithString(text);
}

std::shared_ptr<Button> LateScreen::buttonWithTitle(std::string_view title,
                                                    std::function<void()> action) {
  return screen().views().buttonWithTitle(title, std::move(action));
}

std::shared_ptr<StackView> LateScreen::stackViewWithViews(
    std::vector<std::shared_ptr<View>> views) {
  return screen().views().stackViewWithViews(std::move(views));
}

void LateScreen::activateConstraints(std::span<const LayoutConstraint> constraints) {
  screen().views().activateConstraints(constraints);
}

}  // namespace korvan::lab
