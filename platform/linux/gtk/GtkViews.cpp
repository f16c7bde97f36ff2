#include "platform/linux/gtk/GtkViews.h"

#include <cmath>
#include <stdexcept>
#include <utility>

#include "platform/linux/gtk/GtkView.h"

namespace korvan {
namespace {

std::shared_ptr<GtkView> makeViewOnADisplay() {
  if (!displayIsAvailable()) {
    throw std::runtime_error(
        "no window can be shown: there is no display; DISPLAY or WAYLAND_DISPLAY must name one");
  }
  return std::make_shared<GtkPlainView>();
}

GtkView& gtkView(const LayoutAnchor& anchor) { return dynamic_cast<GtkView&>(*anchor.view); }

// A window that a GtkConstraintLayout lays out cannot be made smaller again, and a text in it does
// not get lower as it gets wider.
void activate(const LayoutConstraint& constraint) {
  GtkView& view = gtkView(constraint.first);
  const int constant = static_cast<int>(std::lround(constraint.constant));
  switch (constraint.first.attribute) {
    case LayoutAttribute::leading:
      return gtk_widget_set_margin_start(view.widget(), constant);
    case LayoutAttribute::trailing:
      return gtk_widget_set_margin_end(view.widget(), -constant);
    case LayoutAttribute::centerX:
      return gtk_widget_set_halign(view.widget(), GTK_ALIGN_CENTER);
    case LayoutAttribute::centerY:
      return gtk_widget_set_valign(view.widget(), GTK_ALIGN_CENTER);
    case LayoutAttribute::width:
      return view.setMaximumWidth(constant);
  }
}

}  // namespace

bool displayIsAvailable() {
  static const bool isAvailable = [] {
    // The locale is the program's to set.
    gtk_disable_setlocale();
    return gtk_init_check() != FALSE;
  }();
  return isAvailable;
}

GtkViews::GtkViews() : view_(makeViewOnADisplay()) {}

std::shared_ptr<View> GtkViews::view() { return view_; }

std::shared_ptr<Label> GtkViews::labelWithString(std::string_view text) {
  return std::make_shared<GtkLabelView>(text);
}

std::shared_ptr<Button> GtkViews::buttonWithTitle(std::string_view title,
                                                  std::function<void()> action) {
  return std::make_shared<GtkButtonView>(title, [this, action = std::move(action)] {
    action();
    ++presses_;
  });
}

std::shared_ptr<StackView> GtkViews::stackViewWithViews(std::vector<std::shared_ptr<View>> views) {
  auto stack = std::make_shared<GtkStackView>();
  for (auto& view : views) {
    stack->addSubview(std::move(view));
  }
  return stack;
}

void GtkViews::activateConstraints(std::span<const LayoutConstraint> constraints) {
  for (const LayoutConstraint& constraint : constraints) {
    activate(constraint);
  }
}

}  // namespace korvan
