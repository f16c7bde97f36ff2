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

/// The keys of all messages. docs/host-protocol.md says which message has which keys, with which
/// values.
namespace provider_message_key {
// Of every request.
inline constexpr std::string_view type = "type";
inline constexpr std::string_view allowsUserInteraction = "allowsUserInteraction";

// Of requests, and of the answers that repeat some of them.
inline constexpr std::string_view acceptedCredentialIDs = "acceptedCredentialIDs";
inline constexpr std::string_view allowedCredentials = "allowedCredentials";
inline constexpr std::string_view clientDataHash = "clientDataHash";
inline constexpr std::string_view conditional = "conditional";
inline constexpr std::string_view credentialID = "credentialID";
inline constexpr std::string_view excludedCredentials = "excludedCredentials";
inline constexpr std::string_view recordIdentifier = "recordIdentifier";
inline constexpr std::string_view relyingPartyIdentifier = "relyingPartyIdentifier";
inline constexpr std::string_view supportedAlgorithms = "supportedAlgorithms";
inline constexpr std::string_view userHandle = "userHandle";
inline constexpr std::string_view userName = "userName";
inline constexpr std::string_view userVerificationPreference = "userVerificationPreference";

// Of every response.
inline constexpr std::string_view ok = "ok";

// Of credentials.
inline constexpr std::string_view attestationObject = "attestationObject";
inline constexpr std::string_view authenticatorData = "authenticatorData";
inline constexpr std::string_view signature = "signature";

// Of failures.
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

// These read an absent value, and a value of another type, as false or nullopt.

[[nodiscard]] bool booleanForKey(const ProviderMessage& message, std::string_view key);
[[nodiscard]] std::optional<std::string> stringForKey(const ProviderMessage& message,
                                                      std::string_view key);
[[nodiscard]] std::optional<Data> dataForKey(const ProviderMessage& message, std::string_view key);

/// A failure response like the host's: `ok` false, a code and a description. `errorCode` is one of
/// provider_error_code.
[[nodiscard]] ProviderMessage failureResponse(std::string_view errorCode,
                                              std::string_view errorDescription);

/// The result of decoding a response body.
struct DecodedProviderMessage {
  /// Nullopt when the bytes do not decode, or do not decode to a dictionary.
  std::optional<ProviderMessage> message;
  /// The decoder's error. Nullopt for a property list that is not a dictionary.
  std::optional<PropertyListError> error;
};

[[nodiscard]] DecodedProviderMessage decodeProviderMessage(
    const PropertyListSerialization& propertyLists, const Data& body);

}  // namespace korvan
