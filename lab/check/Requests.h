#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "channel/ProviderMessage.h"

namespace korvan::lab::check {

// The relying parties whose passkeys a run makes. No domain ends in "invalid".
inline constexpr std::string_view RelyingParty = "check-host.invalid";
inline constexpr std::string_view OtherRelyingParty = "other.check-host.invalid";
/// One that the host has no passkey for.
inline constexpr std::string_view StrangeRelyingParty = "stranger.check-host.invalid";

// https://www.iana.org/assignments/cose/cose.xhtml#algorithms
inline constexpr std::int64_t Es256 = -7;
inline constexpr std::int64_t Rs256 = -257;

/// The ID of a passkey, or the handle of a user, that nobody has.
[[nodiscard]] Data newIdentifier();

/// So many IDs that nobody has, and then twice the same, since relying parties repeat themselves.
[[nodiscard]] std::vector<Data> manyIdentifiersAnd(const Data& last);

/// Whether a request lets the host ask its user.
using AllowsUser = bool;

// Complete requests, as the extension sends them. Change what a check needs otherwise.

[[nodiscard]] ProviderMessage synchronizeRequest(AllowsUser allowsUser);

/// A registration, conditional without the user. A new random client data hash; ES256; no
/// exclusions; verification "preferred".
[[nodiscard]] ProviderMessage registrationRequest(std::string_view relyingParty,
                                                  std::string_view userName, const Data& userHandle,
                                                  AllowsUser allowsUser);

/// An `assertion`, or with the user an `interactiveAssertion`, that names a passkey. A new random
/// client data hash; verification "preferred".
[[nodiscard]] ProviderMessage assertionRequest(std::string_view relyingParty,
                                               const Data& credentialID, AllowsUser allowsUser);

[[nodiscard]] ProviderMessage userNameReport(std::string_view relyingParty, const Data& userHandle,
                                             std::string_view userName);
[[nodiscard]] ProviderMessage unknownCredentialReport(std::string_view relyingParty,
                                                      const Data& credentialID);
[[nodiscard]] ProviderMessage acceptedCredentialsReport(std::string_view relyingParty,
                                                        const Data& userHandle,
                                                        const std::vector<Data>& credentialIDs);

/// An array of data.
[[nodiscard]] PropertyListValue arrayOf(const std::vector<Data>& items);

}  // namespace korvan::lab::check
