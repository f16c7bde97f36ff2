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
  return std::make_shared<GtkConstraintView>();
}

GtkConstraintAttribute attributeFor(LayoutAttribute attribute) {
  switch (attribute) {
    case LayoutAttribute::leading:
      return GTK_CONSTRAINT_ATTRIBUTE_START;
    case LayoutAttribute::trailing:
      return GTK_CONSTRAINT_ATTRIBUTE_END;
    case LayoutAttribute::centerX:
      return GTK_CONSTRAINT_ATTRIBUTE_CENTER_X;
    case LayoutAttribute::centerY:
      return GTK_CONSTRAINT_ATTRIBUTE_CENTER_Y;
    case LayoutAttribute::width:
      return GTK_CONSTRAINT_ATTRIBUTE_WIDTH;
  }
  return GTK_CONSTRAINT_ATTRIBUTE_NONE;
}

GtkConstraintRelation relationFor(LayoutRelation relation) {
  switch (relation) {
    case LayoutRelation::equal:
      return GTK_CONSTRAINT_RELATION_EQ;
    case LayoutRelation::lessThanOrEqual:
      return GTK_CONSTRAINT_RELATION_LE;
    case LayoutRelation::greaterThanOrEqual:
      return GTK_CONSTRAINT_RELATION_GE;
  }
  return GTK_CONSTRAINT_RELATION_EQ;
}

GtkView& gtkView(const LayoutAnchor& anchor) { return dynamic_cast<GtkView&>(*anchor.view); }

void activate(const LayoutConstraint& constraint) {
  GtkView& first = gtkView(constraint.first);
  if (!constraint.second) {
    first.setMaximumWidth(static_cast<int>(std::lround(constraint.constant)));
    return;
  }
  first.constrain(gtk_constraint_new(
      first.widget(), attributeFor(constraint.first.attribute), relationFor(constraint.relation),
      gtkView(*constraint.second).widget(), attributeFor(constraint.second->attribute), 1.0,
      constraint.constant, GTK_CONSTRAINT_STRENGTH_REQUIRED));
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
