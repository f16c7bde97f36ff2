#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include <gtk/gtk.h>

#include "platform/Views.h"

namespace korvan {

/// A view that owns a GTK widget. The list of subviews keeps the views in it alive.
class GtkView : public virtual View, public std::enable_shared_from_this<GtkView> {
 public:
  /// Takes the floating reference.
  explicit GtkView(GtkWidget* widget);
  GtkView(const GtkView&) = delete;
  GtkView& operator=(const GtkView&) = delete;
  ~GtkView() override;

  [[nodiscard]] GtkWidget* widget() const { return widget_; }

  [[nodiscard]] std::vector<std::shared_ptr<View>> subviews() const override;
  void removeFromSuperview() override;
  void addSubview(std::shared_ptr<View> view) override;
  /// Widgets have no autoresizing masks.
  void setTranslatesAutoresizingMaskIntoConstraints(bool /*translates*/) override {}

  /// Limits the widget's width in pixels, for the kinds of view that support it.
  virtual void setMaximumWidth(int /*width*/) {}

 private:
  GtkWidget* const widget_;
  GtkView* superview_ = nullptr;
  std::vector<std::shared_ptr<GtkView>> subviews_;
};

/// A view that shows nothing but its subviews, each with all the room that its constraints leave:
/// the controller's own.
class GtkPlainView final : public GtkView {
 public:
  GtkPlainView();
};

class GtkLabelView final : public GtkView, public Label {
 public:
  explicit GtkLabelView(std::string_view text);

  void setFont(SystemFont font) override;
  void setAlignment(TextAlignment alignment) override;
  void setMaximumNumberOfLines(int lines) override;
  void setLineBreakMode(LineBreakMode mode) override;
  void setMaximumWidth(int width) override;

 private:
  [[nodiscard]] GtkLabel* label() const;
};

class GtkButtonView final : public GtkView, public Button {
 public:
  GtkButtonView(std::string_view title, std::function<void()> action);
  GtkButtonView(const GtkButtonView&) = delete;
  GtkButtonView& operator=(const GtkButtonView&) = delete;
  ~GtkButtonView() override;

  /// Return makes this the default button of its window. Other keys are not supported.
  void setKeyEquivalent(std::string_view characters) override;

 private:
  std::function<void()> action_;
};

class GtkStackView final : public GtkView, public StackView {
 public:
  GtkStackView();

  void setOrientation(Orientation orientation) override;
  void setAlignment(LayoutAttribute attribute) override;
  void setSpacing(double spacing) override;
};

}  // namespace korvan
