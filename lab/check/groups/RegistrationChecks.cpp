#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lab/check/Catalog.h"
#include "lab/check/CheckContext.h"
#include "lab/check/Judgment.h"
#include "lab/check/Requests.h"

namespace korvan::lab::check {
namespace {

namespace key = provider_message_key;
using Subject = Finding::Subject;

/// An algorithm that nobody makes keys for any more.
constexpr std::int64_t Rs1 = -65535;

/// For a user whom no other check knows.
ProviderMessage newRequest(const CheckContext& context) {
  return registrationRequest(RelyingParty, "carol", newIdentifier(), context.settings().attended);
}

Result registrationAnswer(CheckContext& context) {
  const CheckPasskey& passkey = context.passkeys().firstRegistration();
  const Exchange exchange = registrationOf(passkey);
  if (!context.settings().attended && needsUser(exchange.answer)) {
    return skipped("the host makes no passkey without its user: " +
                   context.described(exchange.answer));
  }
  requireServed(context, exchange, "a passkey", "a plain registration is refused");
  return resultOf(context, exchange, reviewOf(exchange).findings,
                  {Subject::kinds, Subject::echoes});
}

Result registrationAttestation(CheckContext& context) {
  for (const CheckPasskey* passkey : {&context.passkeys().first(), &context.passkeys().other()}) {
    Result result = resultOf(context, registrationOf(*passkey), reviewOf(*passkey).findings,
                             {Subject::attestation, Subject::authenticatorData});
    if (result.outcome != Outcome::passed) {
      return result;
    }
  }
  return passed();
}

Result registrationFlags(CheckContext& context) {
  const CheckPasskey& passkey = context.passkeys().first();
  Result result =
      resultOf(context, registrationOf(passkey), reviewOf(passkey).findings, {Subject::flags});
  if (result.outcome != Outcome::passed || !context.settings().attended) {
    return result;
  }
  ProviderMessage request = newRequest(context);
  request[key::userVerificationPreference] = "required";
  const Exchange exchange = askToRegister(context, request);
  requireServed(context, exchange, "a passkey", "refused where the user must be verified");
  return resultOf(context, exchange, reviewOf(exchange).findings,
                  {Subject::flags, Subject::verification});
}

Result registrationAlgorithm(CheckContext& context) {
  ProviderMessage request = newRequest(context);
  request[key::supportedAlgorithms] = PropertyListValue::Array{Rs256};
  const Exchange unfit = askToRegister(context, request);
  if (isOk(unfit.answer)) {
    return resultOf(context, unfit, reviewOf(unfit).findings, {Subject::algorithm});
  }
  request = newRequest(context);
  request[key::supportedAlgorithms] = PropertyListValue::Array{Rs1, Rs256, Es256};
  const Exchange fit = askToRegister(context, request);
  requireServed(context, fit, "a passkey for ES256 (-7)",
                "only the first of supportedAlgorithms is looked at, or one that the host does "
                "not know is a hindrance");
  Result result = resultOf(context, fit, reviewOf(fit).findings, {Subject::algorithm});
  if (result.outcome != Outcome::passed) {
    return result;
  }
  request = newRequest(context);
  request[key::supportedAlgorithms] = PropertyListValue::Array{};
  const Exchange any = askToRegister(context, request);
  requireServed(context, any, "a passkey for ES256 (-7)",
                "an empty supportedAlgorithms is refused; it stands for ES256");
  return resultOf(context, any, reviewOf(any).findings, {Subject::algorithm});
}

Exchange registrationExcluding(CheckContext& context, const std::vector<Data>& excluded) {
  ProviderMessage request = newRequest(context);
  request[key::excludedCredentials] = arrayOf(excluded);
  return askToRegister(context, request);
}

Result registrationExcluded(CheckContext& context) {
  const Data ofOther = context.passkeys().other().credentialID;
  // The newest: a host that has lost older ones does not ignore the exclusion.
  // Of a namesake, whom a host must not take for the first user.
  const Data own = context.passkeys().make(RelyingParty, "alice").credentialID;
  const Data unknown = newIdentifier();
  Result result =
      refusedWith(context, registrationExcluding(context, {unknown, own}),
                  provider_error_code::matchedExcludedCredential, "excludedCredentials is ignored");
  if (result.outcome != Outcome::passed) {
    return result;
  }
  result = refusedWith(context, registrationExcluding(context, manyIdentifiersAnd(own)),
                       provider_error_code::matchedExcludedCredential,
                       "the last of 302 excludedCredentials, two of them alike, is ignored");
  if (result.outcome != Outcome::passed) {
    return result;
  }
  const Exchange both = registrationExcluding(context, {ofOther, unknown});
  if (!isOk(both.answer)) {
    requireServed(context, registrationExcluding(context, {unknown}), "a passkey",
                  "a passkey that the host does not have prevents nothing");
    requireServed(context, both, "a passkey",
                  "a passkey of another relying party prevents nothing");
  }
  return passed();
}

Result registrationUnique(CheckContext& context) {
  const CheckPasskey& first = context.passkeys().first();
  const CheckPasskey& second = context.passkeys().second();
  requireDifferent(context, registrationOf(first), registrationOf(second), "two passkeys");
  const CheckPasskey& older = context.passkeys().make(RelyingParty, "judy");
  requireDifferent(context, registrationOf(older),
                   registrationOf(context.passkeys().makeAgain(older)),
                   "a user's new passkey and the one before");
  requireDifferent(context, registrationOf(first), registrationOf(context.passkeys().other()),
                   "a user's passkeys at two sites");
  return passed();
}

/// Passes unless a registration is wrong in what was right in the first one.
Result newFlawIn(CheckContext& context, const Exchange& exchange) {
  const auto resultIn = [&](const Exchange& judged) {
    return resultOf(context, judged, reviewOf(judged).findings,
                    {Subject::kinds, Subject::echoes, Subject::attestation,
                     Subject::authenticatorData, Subject::flags});
  };
  const CheckPasskey& first = context.passkeys().firstRegistration();
  const bool isFirstSound = resultIn(registrationOf(first)).outcome == Outcome::passed;
  return isFirstSound ? resultIn(exchange) : passed();
}

/// Judges the silent registrations of a host that has served one.
Result silentRegistrations(CheckContext& context, const Exchange& served) {
  Result result = newFlawIn(context, served);
  const auto made = reviewOf(served).passkey;
  if (result.outcome != Outcome::passed || !made ||
      made->credentialID != dataForKey(served.answer, key::credentialID)) {
    return result;
  }
  ProviderMessage request = registrationRequest(RelyingParty, "dora", newIdentifier(), false);
  request[key::excludedCredentials] = arrayOf({*made->credentialID});
  const Exchange excluding = askToRegister(context, request);
  if (isOk(excluding.answer)) {
    return refusedWith(context, excluding, provider_error_code::matchedExcludedCredential,
                       "excludedCredentials is ignored in a conditional registration");
  }
  request = registrationRequest(RelyingParty, "dora", newIdentifier(), false);
  request[key::userVerificationPreference] = "required";
  const Exchange verifying = askToRegister(context, request);
  return isOk(verifying.answer)
             ? resultOf(context, verifying, reviewOf(verifying).findings, {Subject::verification})
             : passed();
}

Result registrationConditional(CheckContext& context) {
  const Exchange exchange =
      askSilently(context, registrationRequest(RelyingParty, "dora", newIdentifier(), false));
  context.passkeys().remember(exchange.request, exchange.answer);
  if (isOk(exchange.answer)) {
    return silentRegistrations(context, exchange);
  }
  return needsUser(exchange.answer)
             ? passed()
             : failed({.sent = context.described(exchange.request),
                       .got = context.described(exchange.answer),
                       .wanted = "a passkey, or a refusal with userInteractionRequired or "
                                 "vaultLocked",
                       .hint = "a host that makes no passkeys silently refuses with "
                               "userInteractionRequired"});
}

}  // namespace

std::vector<Check> registrationChecks() {
  return {
      {.name = "registration.answer",
       .passes =
           "a registration's answer has every key, each of its kind, and the request's values",
       .needs = {Need::host},
       .after = {"answer.ok"},
       .see = "credentials",
       .run = registrationAnswer},
      {.name = "registration.attestation",
       .passes = "the attestation object is sound, with a key for ES256 and the answer's ID",
       .needs = {Need::host, Need::passkey},
       .after = {"registration.answer"},
       .see = "credentials",
       .run = registrationAttestation},
      {.name = "registration.flags",
       .passes = "a new passkey's flags report presence and verification, and are consistent",
       .needs = {Need::host, Need::passkey},
       .after = {"registration.answer"},
       .see = "authenticator-data",
       .run = registrationFlags},
      {.name = "registration.unique",
       .passes = "each passkey has an ID and a key of its own",
       .needs = {Need::host, Need::passkey},
       .after = {"registration.answer"},
       .see = "registration",
       .run = registrationUnique},
      {.name = "registration.algorithm",
       .passes = "a key is made only for an algorithm that the relying party accepts",
       .needs = {Need::host, Need::passkey},
       .after = {"registration.answer"},
       .see = "registration",
       .run = registrationAlgorithm},
      {.name = "registration.excluded",
       .passes = "an excluded passkey that the host has, and no other, prevents a new one",
       .needs = {Need::host, Need::passkey},
       .after = {"registration.answer", "registration.unique"},
       .see = "registration",
       .run = registrationExcluded},
      {.name = "registration.conditional",
       .passes = "a silent registration is served or refused at once",
       .needs = {Need::host},
       .after = {"answer.ok"},
       .see = "registration",
       .run = registrationConditional},
  };
}

}  // namespace korvan::lab::check
