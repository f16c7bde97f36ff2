#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "lab/browser/BrowserRequest.h"
#include "lab/system/Outcome.h"

namespace korvan::lab {

/// The end of a page's request.
struct BrowserAnswer {
  /// The credential as the browser takes it
  /// (https://www.w3.org/TR/webauthn-3/#dictdef-registrationresponsejson,
  /// https://www.w3.org/TR/webauthn-3/#dictdef-authenticationresponsejson). Null without one.
  nlohmann::json response;
  /// The name of the exception that the page gets, and its message. Empty when there is none.
  std::string errorName;
  std::string errorMessage;
  /// What went wrong, in the words of a developer.
  std::string reason;

  /// As the browser's extension reads it.
  [[nodiscard]] nlohmann::json message() const;
};

/// What a request's outcome is to the page.
[[nodiscard]] BrowserAnswer browserAnswer(const BrowserRequest& request, const Outcome& outcome);

/// A refusal with NotAllowedError.
[[nodiscard]] BrowserAnswer refusalAnswer(std::string_view message, std::string_view reason);

/// The passkey that a registration made. Nullopt if it made none.
[[nodiscard]] std::optional<KnownIdentity> identityMade(const BrowserRequest& request,
                                                        const BrowserAnswer& answer);

}  // namespace korvan::lab
