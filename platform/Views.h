#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace korvan {

// The few view operations that the notice needs, under AppKit's names. Main thread. Lengths are in
// points, font sizes too.

/// Anything that takes up room in a window.
class View {
 public:
  virtual ~View() = default;

  /// A copy of the list of direct subviews, back to front.
  [[nodiscard]] virtual std::vector<std::shared_ptr<View>> subviews() const = 0;
  virtual void removeFromSuperview() = 0;
  virtual void addSubview(std::shared_ptr<View> view) = 0;
  virtual void setTranslatesAutoresizingMaskIntoConstraints(bool translates) = 0;
};

enum class TextAlignment : std::uint8_t { natural, center };
enum class LineBreakMode : std::uint8_t { byClipping, byWordWrapping };
enum class FontWeight : std::uint8_t { regular, semibold };

/// The system's font in a size and weight.
struct SystemFont {
  double size = 0;
  FontWeight weight = FontWeight::regular;
  friend bool operator==(const SystemFont&, const SystemFont&) = default;
};

/// A text that cannot be edited.
class Label : public virtual View {
 public:
  virtual void setFont(SystemFont font) = 0;
  virtual void setAlignment(TextAlignment alignment) = 0;
  /// 0 is no limit.
  virtual void setMaximumNumberOfLines(int lines) = 0;
  virtual void setLineBreakMode(LineBreakMode mode) = 0;
};

class Button : public virtual View {
 public:
  /// The key, as the characters that it types, that presses the button.
  virtual void setKeyEquivalent(std::string_view characters) = 0;
};

enum class Orientation : std::uint8_t { horizontal, vertical };
enum class LayoutAttribute : std::uint8_t { leading, trailing, centerX, centerY, width };

/// Views in a row or a column.
class StackView : public virtual View {
 public:
  virtual void setOrientation(Orientation orientation) = 0;
  /// The attribute in which the views are aligned across the orientation.
  virtual void setAlignment(LayoutAttribute attribute) = 0;
  virtual void setSpacing(double spacing) = 0;
};

/// One attribute of one view, to constrain.
struct LayoutAnchor {
  std::shared_ptr<View> view;
  LayoutAttribute attribute = LayoutAttribute::leading;
};

enum class LayoutRelation : std::uint8_t { equal, lessThanOrEqual, greaterThanOrEqual };

/// `first` stands in `relation` to `second` plus `constant`, or to `constant` alone, with the
/// default priority.
struct LayoutConstraint {
  LayoutAnchor first;
  LayoutRelation relation = LayoutRelation::equal;
  std::optional<LayoutAnchor> second;
  double constant = 0;
};

/// The controller's own view, and what can be made to put into it.
class Views {
 public:
  virtual ~Views() = default;

  /// The controller's view; never null, always the same.
  [[nodiscard]] virtual std::shared_ptr<View> view() = 0;

  [[nodiscard]] virtual std::shared_ptr<Label> labelWithString(std::string_view text) = 0;

  /// `action` runs on the main thread whenever the button is pressed. It must not own the views.
  [[nodiscard]] virtual std::shared_ptr<Button> buttonWithTitle(std::string_view title,
                                                                std::function<void()> action) = 0;

  [[nodiscard]] virtual std::shared_ptr<StackView> stackViewWithViews(
      std::vector<std::shared_ptr<View>> views) = 0;

  virtual void activateConstraints(std::span<const LayoutConstraint> constraints) = 0;
};

}  // namespace korvan
