#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/Data.h"
#include "platform/PropertyList.h"
#include "platform/PropertyListSerialization.h"

namespace korvan {

/// The one request or the one response of an exchange with the host application.
using ProviderMessage = PropertyListDictionary;

/// The keys that every request or every response may carry; a flow's own keys stand with the flow.
namespace provider_message_key {
// Requests.
inline constexpr std::string_view type = "type";
inline constexpr std::string_view allowsUserInteraction = "allowsUserInteraction";
// Responses.
inline constexpr std::string_view ok = "ok";
inline constexpr std::string_view errorCode = "errorCode";
inline constexpr std::string_view errorDescription = "errorDescription";
inline constexpr std::string_view showUnavailableUI = "showUnavailableUI";
}  // namespace provider_message_key

/// The values of a request's `type`.
namespace provider_request_type {
inline constexpr std::string_view interactiveAssertion = "interactiveAssertion";
inline constexpr std::string_view assertion = "assertion";
inline constexpr std::string_view registration = "registration";
inline constexpr std::string_view synchronize = "synchronize";
inline constexpr std::string_view updateUserName = "updateUserName";
inline constexpr std::string_view removeUnknownCredential = "removeUnknownCredential";
inline constexpr std::string_view acceptedCredentials = "acceptedCredentials";
}  // namespace provider_request_type

/// The values of a failure response's `errorCode`.
namespace provider_error_code {
inline constexpr std::string_view failed = "failed";
inline constexpr std::string_view unavailable = "unavailable";
inline constexpr std::string_view vaultLocked = "vaultLocked";
inline constexpr std::string_view userInteractionRequired = "userInteractionRequired";
inline constexpr std::string_view userCanceled = "userCanceled";
inline constexpr std::string_view credentialNotFound = "credentialNotFound";
inline constexpr std::string_view matchedExcludedCredential = "matchedExcludedCredential";
}  // namespace provider_error_code

// Reading a message: an absent value, and one of another type, read as false or none.

[[nodiscard]] bool booleanForKey(const ProviderMessage& message, std::string_view key);
[[nodiscard]] std::optional<std::string> stringForKey(const ProviderMessage& message,
                                                      std::string_view key);
[[nodiscard]] std::optional<Data> dataForKey(const ProviderMessage& message, std::string_view key);

/// A failure response such as the host itself would give: `ok` false with a code and a description.
/// `errorCode` is one of provider_error_code.
[[nodiscard]] ProviderMessage failureResponse(std::string_view errorCode,
                                              std::string_view errorDescription);

/// What came of decoding a response body.
struct DecodedProviderMessage {
  /// None when the bytes do not decode, or decode to something other than a dictionary.
  std::optional<ProviderMessage> message;
  /// The decoder's error, if it had one. A property list that is no dictionary gives none.
  std::optional<PropertyListError> error;
};

[[nodiscard]] DecodedProviderMessage decodeProviderMessage(
    const PropertyListSerialization& propertyLists, const Data& body);

}  // namespace korvan
