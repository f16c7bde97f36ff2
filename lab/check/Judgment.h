#pragma once

#include <chrono>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "channel/ProviderMessage.h"
#include "lab/check/Check.h"
#include "lab/check/CheckContext.h"
#include "lab/check/CheckPasskeys.h"
#include "lab/site/AnswerJudge.h"

namespace korvan::lab::check {

// What the checks of registrations, assertions, refusals and reports have in common.

/// A silent request may take this long when nobody is asked.
inline constexpr auto UnaskedTime = std::chrono::seconds(2);

/// True for a refusal that asks for the request again, with the user.
[[nodiscard]] bool needsUser(const ProviderMessage& answer);

[[nodiscard]] inline bool isOk(const ProviderMessage& answer) {
  return booleanForKey(answer, provider_message_key::ok);
}

// Ways to ask.

/// Makes a silent request. Throws a CheckEnd "failed" with the time when it takes too long.
[[nodiscard]] Exchange askSilently(CheckContext& context, const ProviderMessage& request);

/// Makes a silent assertion, and again with the user when the host answers that it needs one.
/// Throws a CheckEnd "skipped" when there is nobody to ask.
[[nodiscard]] Exchange askToSign(CheckContext& context, ProviderMessage request);

/// Makes an assertion with the user, who is told what to do.
[[nodiscard]] Exchange askUserToSign(CheckContext& context, const ProviderMessage& request,
                                     const std::string& sentence);

/// Makes a registration; the user is told when it asks for one. A new passkey is removed at the
/// end.
[[nodiscard]] Exchange askToRegister(CheckContext& context, const ProviderMessage& request);

// Ways to judge.

/// The registration that made a passkey.
[[nodiscard]] inline Exchange registrationOf(const CheckPasskey& passkey) {
  return {.request = passkey.request, .answer = passkey.answer};
}

/// The review of a registration by the terms of its request.
[[nodiscard]] RegistrationReview reviewOf(const Exchange& exchange);
[[nodiscard]] RegistrationReview reviewOf(const CheckPasskey& passkey);

/// The terms of an assertion that `passkey` must sign.
[[nodiscard]] AssertionTerms assertionTerms(const Exchange& exchange, const CheckPasskey& passkey);

/// Throws a CheckEnd "failed" unless the request was served. Of a refusal with an expected code
/// `hint` says the mistake.
void requireServed(const CheckContext& context, const Exchange& exchange, std::string_view wanted,
                   std::string_view hint);

/// Passes when the request was refused with the code. `hint` says the mistake of a host that
/// serves it.
[[nodiscard]] Result refusedWith(const CheckContext& context, const Exchange& exchange,
                                 std::string_view code, std::string_view hint);

/// The findings about some subjects as a check's result.
[[nodiscard]] Result resultOf(const CheckContext& context, const Exchange& exchange,
                              const FindingList& findings,
                              std::initializer_list<Finding::Subject> subjects);

/// Throws a CheckEnd "failed" unless the second of two registrations made another credential ID and
/// key than the first. `whose` and `advice` go before and after the hint.
void requireDifferent(const CheckContext& context, const Exchange& first, const Exchange& second,
                      const std::string& whose, const std::string& advice = "");

/// Passes unless an assertion of the passkey is wrong in what was right in another one, if there is
/// one: so that each check tells of a mistake of its own.
[[nodiscard]] Result newFlawIn(const CheckContext& context, const Exchange& exchange,
                               const std::optional<Exchange>& other, const CheckPasskey& passkey);

}  // namespace korvan::lab::check
