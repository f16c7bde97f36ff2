#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "platform/Views.h"

namespace korvan {

class GtkView;

/// True when windows can be opened on a display. The first call decides for the whole process. Main
/// thread.
[[nodiscard]] bool displayIsAvailable();

/// GTK 4 widgets as views. A point is a logical pixel, and text follows the user's font and theme
/// unless the controller says otherwise. The main thread is the one that runs GLib's default main
/// context. A NoticeWindow shows them.
///
/// A constraint centers a view in its superview, keeps it at least as far as a margin from a side
/// of that, or limits the width of a label. There are no others.
class GtkViews final : public Views {
 public:
  /// Throws std::runtime_error when no display is available.
  GtkViews();

  [[nodiscard]] std::shared_ptr<View> view() override;
  [[nodiscard]] std::shared_ptr<Label> labelWithString(std::string_view text) override;
  [[nodiscard]] std::shared_ptr<Button> buttonWithTitle(std::string_view title,
                                                        std::function<void()> action) override;
  [[nodiscard]] std::shared_ptr<StackView> stackViewWithViews(
      std::vector<std::shared_ptr<View>> views) override;
  void activateConstraints(std::span<const LayoutConstraint> constraints) override;

  /// How many times any button was pressed. Counted after its action has run.
  [[nodiscard]] std::size_t presses() const { return presses_; }

 private:
  const std::shared_ptr<GtkView> view_;
  std::size_t presses_ = 0;
};

}  // namespace korvan
