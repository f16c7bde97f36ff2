#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/LocalizedStrings.h"
#include "platform/Views.h"
#include "provider/CredentialProviderViewController.h"

namespace korvan {
namespace {

constexpr double TitleFontSize = 17.0;
constexpr double Spacing = 14.0;
constexpr double Margin = 40.0;
constexpr double MaximumMessageWidth = 420.0;
constexpr std::string_view ReturnKey = "\r";

void removeAllSubviews(View& view) {
  for (const auto& subview : view.subviews()) {
    subview->removeFromSuperview();
  }
}

std::shared_ptr<View> makeTitle(Views& views, const LocalizedStrings& strings) {
  const auto title =
      views.labelWithString(strings.localizedString("Couldn\u2019t Connect to Korvan"));
  title->setFont({.size = TitleFontSize, .weight = FontWeight::semibold});
  title->setAlignment(TextAlignment::center);
  return title;
}

std::shared_ptr<View> makeMessage(Views& views, const LocalizedStrings& strings) {
  const auto message = views.labelWithString(
      strings.localizedString("Open Korvan, then try the Passkey request again."));
  message->setAlignment(TextAlignment::center);
  message->setMaximumNumberOfLines(0);
  message->setLineBreakMode(LineBreakMode::byWordWrapping);
  return message;
}

std::shared_ptr<View> makeButton(Views& views, const LocalizedStrings& strings,
                                 std::function<void()> action) {
  const auto button = views.buttonWithTitle(strings.localizedString("OK"), std::move(action));
  button->setKeyEquivalent(ReturnKey);
  return button;
}

std::shared_ptr<View> makeStack(Views& views, std::vector<std::shared_ptr<View>> elements) {
  const auto stack = views.stackViewWithViews(std::move(elements));
  stack->setOrientation(Orientation::vertical);
  stack->setAlignment(LayoutAttribute::centerX);
  stack->setSpacing(Spacing);
  stack->setTranslatesAutoresizingMaskIntoConstraints(false);
  return stack;
}

LayoutAnchor anchor(const std::shared_ptr<View>& view, LayoutAttribute attribute) {
  return {.view = view, .attribute = attribute};
}

/// Centered, no closer to the sides than the margin, and with a message narrow enough to read.
std::array<LayoutConstraint, 5> constraintsFor(const std::shared_ptr<View>& stack,
                                               const std::shared_ptr<View>& view,
                                               const std::shared_ptr<View>& message) {
  using enum LayoutAttribute;
  using enum LayoutRelation;
  return {{
      {.first = anchor(stack, centerX),
       .relation = equal,
       .second = anchor(view, centerX),
       .constant = 0},
      {.first = anchor(stack, centerY),
       .relation = equal,
       .second = anchor(view, centerY),
       .constant = 0},
      {.first = anchor(stack, leading),
       .relation = greaterThanOrEqual,
       .second = anchor(view, leading),
       .constant = Margin},
      {.first = anchor(stack, trailing),
       .relation = lessThanOrEqual,
       .second = anchor(view, trailing),
       .constant = -Margin},
      {.first = anchor(message, width),
       .relation = lessThanOrEqual,
       .second = std::nullopt,
       .constant = MaximumMessageWidth},
  }};
}

}  // namespace

void CredentialProviderViewController::showUnavailableUIForResponse(
    const ProviderMessage& response) {
  setPendingUnavailableResponse(response);

  Views& views = services_->views;
  const LocalizedStrings& strings = services_->localizedStrings;
  const std::shared_ptr<View> view = views.view();
  removeAllSubviews(*view);

  const auto title = makeTitle(views, strings);
  const auto message = makeMessage(views, strings);
  // Weak, since the view holds the button: the notice alone must not keep the controller alive.
  const auto button = makeButton(views, strings, [controller = weak_from_this()] {
    if (const auto self = controller.lock()) {
      self->dismissUnavailableUI();
    }
  });
  const auto stack = makeStack(views, {title, message, button});
  view->addSubview(stack);
  views.activateConstraints(constraintsFor(stack, view, message));
}

void CredentialProviderViewController::dismissUnavailableUI() {
  const auto response = pendingUnavailableResponse();
  // Cleared before it is used, so that a second press cancels nothing.
  setPendingUnavailableResponse(std::nullopt);
  if (response) {
    finishCancellationForResponse(*response);
  }
}

}  // namespace korvan
