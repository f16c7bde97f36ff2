#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace korvan {

// The few view operations that the notice needs, under AppKit's names. Main thread. Lengths and
// font sizes are in points.

/// A rectangle in a window, and what it contains.
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

/// Text that cannot be edited.
class Label : public virtual View {
 public:
  virtual void setFont(SystemFont font) = 0;
  virtual void setAlignment(TextAlignment alignment) = 0;
  /// 0 means no limit.
  virtual void setMaximumNumberOfLines(int lines) = 0;
  virtual void setLineBreakMode(LineBreakMode mode) = 0;
};

class Button : public virtual View {
 public:
  /// Sets the key that presses the button, as the characters that it types.
  virtual void setKeyEquivalent(std::string_view characters) = 0;
};

enum class Orientation : std::uint8_t { horizontal, vertical };
enum class LayoutAttribute : std::uint8_t { leading, trailing, centerX, centerY, width };

/// Views in a row or a column.
class StackView : public virtual View {
 public:
  virtual void setOrientation(Orientation orientation) = 0;
  /// Sets the attribute by which the views are aligned, perpendicular to the orientation.
  virtual void setAlignment(LayoutAttribute attribute) = 0;
  virtual void setSpacing(double spacing) = 0;
};

/// An attribute of a view that a constraint refers to.
struct LayoutAnchor {
  std::shared_ptr<View> view;
  LayoutAttribute attribute = LayoutAttribute::leading;
};

enum class LayoutRelation : std::uint8_t { equal, lessThanOrEqual, greaterThanOrEqual };

/// Keeps `first` in `relation` to `second` plus `constant`, or to `constant` alone, with the
/// default priority.
struct LayoutConstraint {
  LayoutAnchor first;
  LayoutRelation relation = LayoutRelation::equal;
  std::optional<LayoutAnchor> second;
  double constant = 0;
};

/// The controller's own view, and the views that can be created to put into it.
class Views {
 public:
  virtual ~Views() = default;

  /// The controller's view. Never null, and always the same view.
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
