#include "platform/linux/gtk/GtkView.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace korvan {
namespace {

constexpr std::string_view ReturnKey = "\r";

/// A widget that shows nothing but its children, where its layout manager puts them.
struct PlainWidget {
  GtkWidget base;
  int maximumWidth;
};

void initialize(GTypeInstance* instance, gpointer /*widgetClass*/) noexcept {
  reinterpret_cast<PlainWidget*>(instance)->maximumWidth = G_MAXINT;
}

void dispose(GObject* object) noexcept {
  auto* const widget = GTK_WIDGET(object);
  while (GtkWidget* const child = gtk_widget_get_first_child(widget)) {
    gtk_widget_unparent(child);
  }
  G_OBJECT_CLASS(g_type_class_peek(GTK_TYPE_WIDGET))->dispose(object);
}

void initializeClass(gpointer widgetClass, gpointer /*data*/) noexcept {
  G_OBJECT_CLASS(widgetClass)->dispose = dispose;
  gtk_widget_class_set_accessible_role(GTK_WIDGET_CLASS(widgetClass), GTK_ACCESSIBLE_ROLE_GROUP);
}

GtkWidget* makePlainWidget(GtkLayoutManager* layout) {
  static const GType type =
      g_type_register_static_simple(GTK_TYPE_WIDGET, "KorvanPlainWidget", sizeof(GtkWidgetClass),
                                    initializeClass, sizeof(PlainWidget), initialize, {});
  auto* const widget = GTK_WIDGET(g_object_new(type, nullptr));
  gtk_widget_set_layout_manager(widget, layout);
  return widget;
}

// Of the label's widget, which is its GtkLabel with a limit to the width. A GtkLabel itself has one
// in characters only.

GtkWidget* limitedChild(GtkWidget* widget) { return gtk_widget_get_first_child(widget); }

int limited(GtkWidget* widget, int width) {
  return std::min(width, reinterpret_cast<PlainWidget*>(widget)->maximumWidth);
}

GtkSizeRequestMode requestModeOfLimited(GtkWidget* widget) noexcept {
  return gtk_widget_get_request_mode(limitedChild(widget));
}

void measureWidth(GtkWidget* widget, int* minimum, int* natural) {
  gtk_widget_measure(limitedChild(widget), GTK_ORIENTATION_HORIZONTAL, -1, minimum, natural,
                     nullptr, nullptr);
  *minimum = limited(widget, *minimum);
  *natural = limited(widget, *natural);
}

void measureLimited(GtkWidget* widget, GtkOrientation orientation, int forSize, int* minimum,
                    int* natural, int* minimumBaseline, int* naturalBaseline) noexcept {
  if (orientation == GTK_ORIENTATION_HORIZONTAL) {
    measureWidth(widget, minimum, natural);
    return;
  }
  int width = 0;
  int naturalWidth = 0;
  measureWidth(widget, &width, &naturalWidth);
  width = forSize < 0 ? naturalWidth : limited(widget, forSize);
  gtk_widget_measure(limitedChild(widget), orientation, width, minimum, natural, minimumBaseline,
                     naturalBaseline);
}

void allocateLimited(GtkWidget* widget, int width, int height, int baseline) noexcept {
  gtk_widget_allocate(limitedChild(widget), limited(widget, width), height, baseline, nullptr);
}

GtkWidget* makeLimitedLabel(std::string_view text) {
  GtkWidget* const widget =
      makePlainWidget(gtk_custom_layout_new(requestModeOfLimited, measureLimited, allocateLimited));
  gtk_widget_set_parent(gtk_label_new(std::string(text).c_str()), widget);
  return widget;
}

GtkAlign alignFor(LayoutAttribute attribute) {
  switch (attribute) {
    case LayoutAttribute::leading:
      return GTK_ALIGN_START;
    case LayoutAttribute::trailing:
      return GTK_ALIGN_END;
    case LayoutAttribute::width:
      return GTK_ALIGN_FILL;
    case LayoutAttribute::centerX:
    case LayoutAttribute::centerY:
      return GTK_ALIGN_CENTER;
  }
  return GTK_ALIGN_FILL;
}

void runAction(GtkButton* /*button*/, gpointer action) noexcept {
  (*static_cast<std::function<void()>*>(action))();
}

void becomeDefault(GtkWidget* button, gpointer /*data*/) noexcept {
  gtk_window_set_default_widget(GTK_WINDOW(gtk_widget_get_root(button)), button);
}

}  // namespace

GtkView::GtkView(GtkWidget* widget) : widget_(widget) { g_object_ref_sink(widget_); }

GtkView::~GtkView() {
  for (const auto& subview : subviews_) {
    subview->superview_ = nullptr;
    gtk_widget_unparent(subview->widget_);
  }
  g_object_unref(widget_);
}

std::vector<std::shared_ptr<View>> GtkView::subviews() const {
  return {subviews_.begin(), subviews_.end()};
}

void GtkView::removeFromSuperview() {
  const auto self = shared_from_this();
  GtkView* const superview = std::exchange(superview_, nullptr);
  if (superview == nullptr) {
    return;
  }
  gtk_widget_unparent(widget_);
  gtk_widget_set_halign(widget_, GTK_ALIGN_FILL);
  gtk_widget_set_valign(widget_, GTK_ALIGN_FILL);
  gtk_widget_set_margin_start(widget_, 0);
  gtk_widget_set_margin_end(widget_, 0);
  std::erase(superview->subviews_, self);
}

void GtkView::addSubview(std::shared_ptr<View> view) {
  auto subview = std::dynamic_pointer_cast<GtkView>(std::move(view));
  subview->removeFromSuperview();
  subview->superview_ = this;
  gtk_widget_set_parent(subview->widget_, widget_);
  subviews_.push_back(std::move(subview));
}

GtkPlainView::GtkPlainView() : GtkView(makePlainWidget(gtk_bin_layout_new())) {}

GtkLabelView::GtkLabelView(std::string_view text) : GtkView(makeLimitedLabel(text)) {}

GtkLabel* GtkLabelView::label() const { return GTK_LABEL(limitedChild(widget())); }

void GtkLabelView::setFont(SystemFont font) {
  PangoAttrList* const attributes = pango_attr_list_new();
  // Absolute: in pixels, which GTK scales with the window.
  pango_attr_list_insert(attributes, pango_attr_size_new_absolute(
                                         static_cast<int>(std::lround(font.size * PANGO_SCALE))));
  pango_attr_list_insert(
      attributes, pango_attr_weight_new(font.weight == FontWeight::semibold ? PANGO_WEIGHT_SEMIBOLD
                                                                            : PANGO_WEIGHT_NORMAL));
  gtk_label_set_attributes(label(), attributes);
  pango_attr_list_unref(attributes);
}

void GtkLabelView::setAlignment(TextAlignment alignment) {
  const bool centers = alignment == TextAlignment::center;
  gtk_label_set_justify(label(), centers ? GTK_JUSTIFY_CENTER : GTK_JUSTIFY_LEFT);
  gtk_label_set_xalign(label(), centers ? 0.5F : 0.0F);
}

void GtkLabelView::setMaximumNumberOfLines(int lines) {
  gtk_label_set_lines(label(), lines == 0 ? -1 : lines);
}

void GtkLabelView::setLineBreakMode(LineBreakMode mode) {
  gtk_label_set_wrap(label(), mode == LineBreakMode::byWordWrapping ? TRUE : FALSE);
  // Inside a word only when it is too long for a line of its own.
  gtk_label_set_wrap_mode(label(), PANGO_WRAP_WORD_CHAR);
}

void GtkLabelView::setMaximumWidth(int width) {
  reinterpret_cast<PlainWidget*>(widget())->maximumWidth = width;
  gtk_widget_queue_resize(widget());
}

GtkButtonView::GtkButtonView(std::string_view title, std::function<void()> action)
    : GtkView(gtk_button_new_with_label(std::string(title).c_str())), action_(std::move(action)) {
  g_signal_connect(widget(), "clicked", G_CALLBACK(runAction), &action_);
}

GtkButtonView::~GtkButtonView() {
  // GTK may hold on to the widget for a while.
  g_signal_handlers_disconnect_by_data(widget(), &action_);
}

void GtkButtonView::setKeyEquivalent(std::string_view characters) {
  if (characters != ReturnKey) {
    return;
  }
  gtk_widget_add_css_class(widget(), "suggested-action");
  // Only a button in a window can be its default.
  g_signal_connect(widget(), "map", G_CALLBACK(becomeDefault), nullptr);
}

GtkStackView::GtkStackView()
    : GtkView(makePlainWidget(gtk_box_layout_new(GTK_ORIENTATION_HORIZONTAL))) {}

void GtkStackView::setOrientation(Orientation orientation) {
  gtk_orientable_set_orientation(
      GTK_ORIENTABLE(gtk_widget_get_layout_manager(widget())),
      orientation == Orientation::vertical ? GTK_ORIENTATION_VERTICAL : GTK_ORIENTATION_HORIZONTAL);
}

void GtkStackView::setAlignment(LayoutAttribute attribute) {
  for (const auto& subview : subviews()) {
    gtk_widget_set_halign(std::dynamic_pointer_cast<GtkView>(subview)->widget(),
                          alignFor(attribute));
  }
}

void GtkStackView::setSpacing(double spacing) {
  gtk_box_layout_set_spacing(GTK_BOX_LAYOUT(gtk_widget_get_layout_manager(widget())),
                             static_cast<guint>(std::lround(spacing)));
}

}  // namespace korvan
