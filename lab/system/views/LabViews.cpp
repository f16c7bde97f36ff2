#include "lab/system/views/LabViews.h"

#include <algorithm>
#include <string>
#include <utility>

namespace korvan::lab {
namespace {

/// A node of the tree. What a view looks like is dropped, except for its text.
class LabView : public virtual View, public std::enable_shared_from_this<LabView> {
 public:
  [[nodiscard]] std::vector<std::shared_ptr<View>> subviews() const override {
    return {children_.begin(), children_.end()};
  }

  void addSubview(std::shared_ptr<View> view) override {
    auto child = std::dynamic_pointer_cast<LabView>(std::move(view));
    child->removeFromSuperview();
    child->parent_ = weak_from_this();
    children_.push_back(std::move(child));
  }

  void removeFromSuperview() override {
    const auto self = shared_from_this();
    if (const auto parent = std::exchange(parent_, {}).lock()) {
      std::erase(parent->children_, self);
    }
  }

  void setTranslatesAutoresizingMaskIntoConstraints(bool /*translates*/) override {}

  /// This view, or the first below it, that the key presses; null when there is none.
  [[nodiscard]] virtual const LabView* find(std::string_view key) const {
    for (const auto& child : children_) {
      if (const LabView* const found = child->find(key)) {
        return found;
      }
    }
    return nullptr;
  }

  virtual void press() const {}

  /// Adds the texts of this view and of those below it.
  virtual void collectTexts(std::vector<std::string>& texts) const {
    for (const auto& child : children_) {
      child->collectTexts(texts);
    }
  }

 private:
  std::weak_ptr<LabView> parent_;
  std::vector<std::shared_ptr<LabView>> children_;
};

class LabLabel final : public LabView, public Label {
 public:
  explicit LabLabel(std::string_view text) : text_(text) {}

  void setFont(SystemFont /*font*/) override {}
  void setAlignment(TextAlignment /*alignment*/) override {}
  void setMaximumNumberOfLines(int /*lines*/) override {}
  void setLineBreakMode(LineBreakMode /*mode*/) override {}

  void collectTexts(std::vector<std::string>& texts) const override { texts.push_back(text_); }

 private:
  const std::string text_;
};

class LabButton final : public LabView, public Button {
 public:
  LabButton(std::string_view title, std::function<void()> action)
      : title_(title), action_(std::move(action)) {}

  void setKeyEquivalent(std::string_view characters) override { key_ = characters; }

  [[nodiscard]] const LabView* find(std::string_view key) const override {
    return key_ == key ? this : LabView::find(key);
  }

  void press() const override { action_(); }

  void collectTexts(std::vector<std::string>& texts) const override {
    texts.push_back("[ " + title_ + " ]");
  }

 private:
  const std::string title_;
  std::function<void()> action_;
  std::string key_;
};

class LabStackView final : public LabView, public StackView {
 public:
  void setOrientation(Orientation /*orientation*/) override {}
  void setAlignment(LayoutAttribute /*attribute*/) override {}
  void setSpacing(double /*spacing*/) override {}
};

const LabView& labView(const std::shared_ptr<View>& view) {
  return dynamic_cast<const LabView&>(*view);
}

const LabView* findBelow(const std::shared_ptr<View>& root, std::string_view key) {
  return labView(root).find(key);
}

}  // namespace

LabViews::LabViews() : root_(std::make_shared<LabView>()) {}

std::shared_ptr<Label> LabViews::labelWithString(std::string_view text) {
  return std::make_shared<LabLabel>(text);
}

std::shared_ptr<Button> LabViews::buttonWithTitle(std::string_view title,
                                                  std::function<void()> action) {
  return std::make_shared<LabButton>(title, std::move(action));
}

std::shared_ptr<StackView> LabViews::stackViewWithViews(std::vector<std::shared_ptr<View>> views) {
  auto stack = std::make_shared<LabStackView>();
  for (auto& view : views) {
    stack->addSubview(std::move(view));
  }
  return stack;
}

void LabViews::activateConstraints(std::span<const LayoutConstraint> /*constraints*/) {}

std::vector<std::string> LabViews::texts() const {
  std::vector<std::string> texts;
  labView(root_).collectTexts(texts);
  return texts;
}

bool LabViews::hasButtonFor(std::string_view key) const { return findBelow(root_, key) != nullptr; }

void LabViews::press(std::string_view key) const {
  if (const LabView* const button = findBelow(root_, key)) {
    button->press();
  }
}

}  // namespace korvan::lab
