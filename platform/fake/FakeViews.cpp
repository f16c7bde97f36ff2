#include "platform/fake/FakeViews.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace korvan {
namespace {

class FakeView : public virtual View, public std::enable_shared_from_this<FakeView> {
 public:
  FakeView(std::string name, std::vector<std::string>& operations)
      : name_(std::move(name)), operations_(operations) {}

  [[nodiscard]] const std::string& name() const { return name_; }

  [[nodiscard]] std::vector<std::shared_ptr<View>> subviews() const override {
    note("subviews");
    return {subviews_.begin(), subviews_.end()};
  }
  [[nodiscard]] const std::vector<std::shared_ptr<FakeView>>& children() const { return subviews_; }

  void removeFromSuperview() override {
    note("removeFromSuperview");
    if (superview_ != nullptr) {
      std::erase(std::exchange(superview_, nullptr)->subviews_, shared_from_this());
    }
  }
  void addSubview(std::shared_ptr<View> view) override {
    auto child = std::dynamic_pointer_cast<FakeView>(std::move(view));
    note("addSubview " + child->name_);
    child->superview_ = this;
    subviews_.push_back(std::move(child));
  }
  void setTranslatesAutoresizingMaskIntoConstraints(bool translates) override {
    note(translates ? "translatesAutoresizingMaskIntoConstraints true"
                    : "translatesAutoresizingMaskIntoConstraints false");
  }

 protected:
  void note(const std::string& operation) const { operations_.push_back(name_ + ": " + operation); }

 private:
  std::string name_;
  std::vector<std::string>& operations_;
  FakeView* superview_ = nullptr;
  std::vector<std::shared_ptr<FakeView>> subviews_;
};

std::string number(double value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

std::string_view nameOf(LayoutAttribute attribute) {
  switch (attribute) {
    case LayoutAttribute::leading:
      return "leading";
    case LayoutAttribute::trailing:
      return "trailing";
    case LayoutAttribute::centerX:
      return "centerX";
    case LayoutAttribute::centerY:
      return "centerY";
    case LayoutAttribute::width:
      return "width";
  }
  return {};
}

std::string_view nameOf(LayoutRelation relation) {
  switch (relation) {
    case LayoutRelation::equal:
      return "=";
    case LayoutRelation::lessThanOrEqual:
      return "<=";
    case LayoutRelation::greaterThanOrEqual:
      return ">=";
  }
  return {};
}

class FakeLabel : public FakeView, public Label {
 public:
  using FakeView::FakeView;
  void setFont(SystemFont font) override {
    note("font " + number(font.size) +
         (font.weight == FontWeight::semibold ? " semibold" : " regular"));
  }
  void setAlignment(TextAlignment alignment) override {
    note(alignment == TextAlignment::center ? "alignment center" : "alignment natural");
  }
  void setMaximumNumberOfLines(int lines) override {
    note("maximumNumberOfLines " + std::to_string(lines));
  }
  void setLineBreakMode(LineBreakMode mode) override {
    note(mode == LineBreakMode::byWordWrapping ? "lineBreakMode byWordWrapping"
                                               : "lineBreakMode byClipping");
  }
};

class FakeButton : public FakeView, public Button {
 public:
  using FakeView::FakeView;
  void setKeyEquivalent(std::string_view characters) override {
    note(characters == "\r" ? "keyEquivalent \\r" : "keyEquivalent " + std::string(characters));
  }
};

class FakeStackView : public FakeView, public StackView {
 public:
  using FakeView::FakeView;
  void setOrientation(Orientation orientation) override {
    note(orientation == Orientation::vertical ? "orientation vertical" : "orientation horizontal");
  }
  void setAlignment(LayoutAttribute attribute) override {
    note("alignment " + std::string(nameOf(attribute)));
  }
  void setSpacing(double spacing) override { note("spacing " + number(spacing)); }
};

std::string nameOf(const std::shared_ptr<View>& view) {
  return std::dynamic_pointer_cast<FakeView>(view)->name();
}

std::string describe(const LayoutAnchor& anchor) {
  return nameOf(anchor.view) + "." + std::string(nameOf(anchor.attribute));
}

std::string describe(const LayoutConstraint& constraint) {
  std::string text = describe(constraint.first) + " " + std::string(nameOf(constraint.relation));
  if (constraint.second) {
    text += " " + describe(*constraint.second);
    return constraint.constant == 0 ? text : text + " + " + number(constraint.constant);
  }
  return text + " " + number(constraint.constant);
}

}  // namespace

FakeViews::FakeViews() : root_(std::make_shared<FakeView>("view", operations)) {}

std::string FakeViews::nextName(const std::string& kind) {
  return kind + " " + std::to_string(++made_[kind]);
}

std::shared_ptr<Label> FakeViews::labelWithString(std::string_view text) {
  const std::string name = nextName("label");
  operations.push_back(name + " = labelWithString " + std::string(text));
  return std::make_shared<FakeLabel>(name, operations);
}

std::shared_ptr<Button> FakeViews::buttonWithTitle(std::string_view title,
                                                   std::function<void()> action) {
  const std::string name = nextName("button");
  operations.push_back(name + " = buttonWithTitle " + std::string(title));
  lastAction_ = std::move(action);
  return std::make_shared<FakeButton>(name, operations);
}

std::shared_ptr<StackView> FakeViews::stackViewWithViews(std::vector<std::shared_ptr<View>> views) {
  const std::string name = nextName("stack");
  std::string operation = name + " = stackViewWithViews";
  for (const auto& view : views) {
    operation += " [" + nameOf(view) + "]";
  }
  operations.push_back(operation);
  return std::make_shared<FakeStackView>(name, operations);
}

void FakeViews::activateConstraints(std::span<const LayoutConstraint> constraints) {
  operations.emplace_back("activateConstraints");
  for (const auto& constraint : constraints) {
    operations.push_back("  " + describe(constraint));
  }
}

void FakeViews::pressButton() const { lastAction_(); }

std::vector<std::string> FakeViews::shown() const {
  std::vector<std::string> names;
  for (const auto& child : std::dynamic_pointer_cast<FakeView>(root_)->children()) {
    names.push_back(child->name());
  }
  return names;
}

}  // namespace korvan
