#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "lab/check/Catalog.h"
#include "lab/check/CheckContext.h"
#include "lab/check/Judgment.h"
#include "lab/check/Requests.h"
#include "lab/site/AttestationReader.h"
#include "lab/site/SignatureJudge.h"

namespace korvan::lab::check {
namespace {

namespace key = provider_message_key;
namespace code = provider_error_code;
using Subject = Finding::Subject;

ProviderMessage requestFor(const CheckPasskey& passkey, AllowsUser allowsUser = false) {
  return assertionRequest(passkey.relyingParty, passkey.credentialID, allowsUser);
}

/// Signs in with a passkey that the request names.
Exchange signIn(CheckContext& context, const CheckPasskey& passkey) {
  Exchange exchange = askToSign(context, requestFor(passkey));
  requireServed(context, exchange, "an assertion",
                "a passkey of the host's own is refused; has a later registration removed it, of "
                "another user of that name, or of that user at another relying party?");
  return exchange;
}

FindingList judged(const Exchange& exchange, const CheckPasskey& passkey) {
  return judgeAssertion(exchange.answer, assertionTerms(exchange, passkey));
}

/// What one sign-in with a passkey shows of some subjects.
Result resultOfSignIn(CheckContext& context, const CheckPasskey& passkey,
                      std::initializer_list<Subject> subjects) {
  const Exchange exchange = signIn(context, passkey);
  return resultOf(context, exchange, judged(exchange, passkey), subjects);
}

Result assertionSilent(CheckContext& context) {
  std::ignore = askSilently(context, requestFor(context.passkeys().first()));
  return passed();
}

Result assertionAnswer(CheckContext& context) {
  return resultOfSignIn(context, context.passkeys().first(), {Subject::kinds, Subject::echoes});
}

Result assertionCredential(CheckContext& context) {
  const CheckPasskey& first = context.passkeys().first();
  const CheckPasskey& second = context.passkeys().second();
  for (const CheckPasskey* passkey : {&first, &second, &first}) {
    const Exchange exchange = signIn(context, *passkey);
    const Result result =
        resultOf(context, exchange, judged(exchange, *passkey), {Subject::credential});
    if (result.outcome != Outcome::passed) {
      return result;
    }
  }
  return passed();
}

Result assertionRecord(CheckContext& context) {
  ProviderMessage request = requestFor(context.passkeys().first());
  request[key::recordIdentifier] = "a record that no host has";
  return refusedWith(context, askToSign(context, request), code::credentialNotFound,
                     "recordIdentifier is ignored");
}

Result assertionAllowed(CheckContext& context) {
  const CheckPasskey& first = context.passkeys().first();
  const CheckPasskey& second = context.passkeys().second();
  const Data unknown = newIdentifier();
  const auto ask = [&](const std::vector<Data>& allowed) {
    ProviderMessage request = assertionRequest(RelyingParty, Data(), false);
    request[key::allowedCredentials] = arrayOf(allowed);
    return askToSign(context, request);
  };
  for (const CheckPasskey* passkey : {&first, &second}) {
    const Exchange exchange = ask({unknown, passkey->credentialID});
    requireServed(context, exchange, "an assertion with the passkey that is allowed",
                  "an empty credentialID matches any passkey");
    const Result result =
        resultOf(context, exchange, judged(exchange, *passkey), {Subject::allowed});
    if (result.outcome != Outcome::passed) {
      return result;
    }
  }
  Result result = refusedWith(context, ask({unknown}), code::credentialNotFound,
                              "allowedCredentials is ignored");
  if (result.outcome != Outcome::passed) {
    return result;
  }
  requireServed(context, ask(manyIdentifiersAnd(first.credentialID)), "an assertion",
                "the last of 302 allowedCredentials, two of them alike, is not found");
  ProviderMessage both = requestFor(first);
  both[key::allowedCredentials] = arrayOf({second.credentialID});
  const Exchange exchange = askToSign(context, both);
  // One that ignores credentialID is told so by assertion.credential.
  return dataForKey(exchange.answer, key::credentialID) == second.credentialID
             ? passed()
             : refusedWith(context, exchange, code::credentialNotFound,
                           "allowedCredentials is ignored beside a credentialID");
}

Result assertionRelyingParty(CheckContext& context) {
  const CheckPasskey& first = context.passkeys().first();
  ProviderMessage named = requestFor(first);
  named[key::relyingPartyIdentifier] = StrangeRelyingParty;
  ProviderMessage allowed = assertionRequest(StrangeRelyingParty, Data(), false);
  allowed[key::allowedCredentials] = arrayOf({first.credentialID});
  const std::string hole =
      "signed for a relying party that the passkey does not belong to, which is a security hole: ";
  for (const auto& [request, mistake] :
       {std::pair(named, "relyingPartyIdentifier is ignored"),
        std::pair(allowed, "relyingPartyIdentifier is ignored beside allowedCredentials")}) {
    const Result result =
        refusedWith(context, askToSign(context, request), code::credentialNotFound, hole + mistake);
    if (result.outcome != Outcome::passed) {
      return result;
    }
  }
  const CheckPasskey& other = context.passkeys().other();
  ProviderMessage ofSubdomain = requestFor(other);
  ofSubdomain[key::relyingPartyIdentifier] = RelyingParty;
  const Exchange asDomain = askToSign(context, ofSubdomain);
  if (isOk(asDomain.answer) &&
      dataForKey(asDomain.answer, key::credentialID) == other.credentialID) {
    return refusedWith(context, asDomain, code::credentialNotFound,
                       hole + "a passkey of a subdomain is taken for the domain's own");
  }
  if (!context.settings().attended) {
    return passed();
  }
  named[key::type] = provider_request_type::interactiveAssertion;
  named[key::allowsUserInteraction] = true;
  const Exchange exchange = askUserToSign(context, named, "Now: cancel in your host, if it asks.");
  return isOk(exchange.answer)
             ? refusedWith(context, exchange, code::credentialNotFound,
                           hole + "relyingPartyIdentifier is ignored in an interactiveAssertion")
             : passed();
}

Result assertionUnknown(CheckContext& context) {
  const auto request = assertionRequest(RelyingParty, newIdentifier(), false);
  Result result = refusedWith(context, askToSign(context, request), code::credentialNotFound,
                              "another passkey signed in place of one that the host does not have");
  if (result.outcome != Outcome::passed) {
    return result;
  }
  const Data& whole = context.passkeys().first().credentialID;
  result = refusedWith(
      context,
      askToSign(context, assertionRequest(RelyingParty, whole.slice(0, whole.size() - 1), false)),
      code::credentialNotFound,
      "a credentialID that a passkey's begins with is taken for the whole");
  if (result.outcome != Outcome::passed) {
    return result;
  }
  const CheckPasskey& replaced = context.passkeys().make(RelyingParty, "kim");
  std::ignore = context.passkeys().makeAgain(replaced);
  return refusedWith(context, askToSign(context, requestFor(replaced)), code::credentialNotFound,
                     "a user's older passkey still signs in; the new one takes its place");
}

Result assertionAuthenticatorData(CheckContext& context) {
  // Not of the passkey that was made first, whose relying party a host may have kept for all.
  return resultOfSignIn(context, context.passkeys().other(),
                        {Subject::authenticatorData, Subject::flags});
}

Result assertionInteractive(CheckContext& context) {
  const CheckPasskey& passkey = context.passkeys().first();
  const Exchange exchange =
      askUserToSign(context, requestFor(passkey, true),
                    "Now: agree in your host to sign in as " + passkey.userName + ".");
  requireServed(context, exchange, "an assertion", "a sign-in with the user is refused");
  Result result = resultOf(context, exchange, judged(exchange, passkey), {Subject::credential});
  if (result.outcome != Outcome::passed ||
      newFlawIn(context, exchange, std::nullopt, passkey).outcome == Outcome::passed) {
    return result;
  }
  return newFlawIn(context, exchange, signIn(context, passkey), passkey);
}

Result assertionList(CheckContext& context) {
  const CheckPasskey& passkey = context.passkeys().first();
  ProviderMessage request = assertionRequest(passkey.relyingParty, Data(), true);
  request[key::allowedCredentials] = arrayOf({passkey.credentialID});
  const Exchange exchange = askUserToSign(
      context, request, "Now: choose in your host the passkey of " + passkey.userName + ".");
  requireServed(context, exchange, "an assertion with the passkey that the user chooses",
                "an empty credentialID asks for a choice among the passkeys");
  if (dataForKey(exchange.answer, key::credentialID) == passkey.credentialID) {
    return passed();
  }
  return failed({.sent = context.described(request),
                 .got = context.described(exchange.answer),
                 .wanted = "an assertion with the only passkey that allowedCredentials has",
                 .hint = "another passkey signed: the list offers those that are not allowed, or "
                         "the user's choice is ignored"});
}

Result assertionVerification(CheckContext& context) {
  const CheckPasskey& passkey = context.passkeys().first();
  ProviderMessage discouraged = requestFor(passkey);
  discouraged[key::userVerificationPreference] = "discouraged";
  requireServed(context, askToSign(context, discouraged), "an assertion",
                "refused where user verification is discouraged");
  const auto ask = [&](AllowsUser allowsUser) {
    ProviderMessage request = requestFor(passkey, allowsUser);
    request[key::userVerificationPreference] = "required";
    return allowsUser ? askUserToSign(context, request,
                                      "Now: verify yourself in your host, as with a fingerprint.")
                      : askSilently(context, request);
  };
  const Exchange silent = ask(false);
  if (isOk(silent.answer)) {
    const Result result =
        resultOf(context, silent, judged(silent, passkey), {Subject::verification});
    if (result.outcome != Outcome::passed) {
      return result;
    }
  } else if (!needsUser(silent.answer)) {
    return refusedWith(context, silent, code::userInteractionRequired, "");
  }
  if (!context.settings().attended) {
    return passed();
  }
  const Exchange interactive = ask(true);
  requireServed(context, interactive, "an assertion", "a sign-in with the user is refused");
  return resultOf(context, interactive, judged(interactive, passkey), {Subject::verification});
}

Result assertionCounter(CheckContext& context) {
  constexpr int SignIns = 3;
  const CheckPasskey& passkey = context.passkeys().first();
  std::optional<std::uint32_t> last;
  for (int count = 0; count < SignIns; ++count) {
    const Exchange exchange = signIn(context, passkey);
    AssertionTerms terms = assertionTerms(exchange, passkey);
    if (terms.passkey && last) {
      terms.passkey->signCount = *last;
    }
    const Result result =
        resultOf(context, exchange, judgeAssertion(exchange.answer, terms), {Subject::counter});
    if (result.outcome != Outcome::passed) {
      return result;
    }
    last = readAuthenticatorData(*dataForKey(exchange.answer, key::authenticatorData))->signCount;
  }
  return passed();
}

Result assertionSignature(CheckContext& context) {
  // Numbers that are encoded wrongly half of the time are seldom right in both.
  constexpr int SignIns = 2;
  const CheckPasskey& passkey = context.passkeys().first();
  Result result;
  Data last;
  for (int count = 0; count < SignIns && result.outcome == Outcome::passed; ++count) {
    const Exchange exchange = signIn(context, passkey);
    AssertionTerms terms = assertionTerms(exchange, passkey);
    for (const CheckPasskey* other : {&context.passkeys().second(), &context.passkeys().other()}) {
      if (const auto registered = reviewOf(*other).passkey) {
        terms.otherPasskeys.push_back(*registered);
      }
    }
    result =
        resultOf(context, exchange, judgeAssertion(exchange.answer, terms), {Subject::signature});
    const Data signature = dataForKey(exchange.answer, key::signature).value_or(Data());
    if (result.outcome == Outcome::passed && haveSameNonce(last, signature)) {
      return failed({.sent = context.described(exchange.request),
                     .got = context.described(exchange.answer),
                     .wanted = "another nonce than in the signature before",
                     .hint = "the same nonce in two signatures: anybody can compute the private "
                             "key from them"});
    }
    last = signature;
  }
  return result;
}

Result assertionUserHandle(CheckContext& context) {
  const CheckPasskey& passkey = context.passkeys().first();
  const Exchange exchange = signIn(context, passkey);
  Result result = resultOf(context, exchange, judged(exchange, passkey), {Subject::userHandle});
  const Data handle = dataForKey(exchange.answer, key::userHandle).value_or(Data());
  if (std::ranges::equal(handle.bytes(), passkey.userName)) {
    result.findings.hint += ": that is userName";
  }
  return result;
}

}  // namespace

std::vector<Check> assertionChecks() {
  return {
      {.name = "assertion.silent",
       .passes = "a silent request for an assertion is answered within 2 s, and nobody is asked",
       .needs = {Need::host, Need::passkey},
       .after = {"registration.answer", "registration.unique"},
       .see = "assertion-and-interactiveassertion",
       .run = assertionSilent},
      {.name = "assertion.answer",
       .passes = "an assertion's answer has every key, each of its kind, and the request's values",
       .needs = {Need::host, Need::passkey},
       .after = {"assertion.silent"},
       .see = "credentials",
       .run = assertionAnswer},
      {.name = "assertion.credential",
       .passes = "of two passkeys, the one that credentialID names signs",
       .needs = {Need::host, Need::passkey},
       .after = {"assertion.answer"},
       .see = "assertion-and-interactiveassertion",
       .run = assertionCredential},
      {.name = "assertion.record",
       .passes = "an unknown recordIdentifier matches no passkey",
       .needs = {Need::host, Need::passkey},
       .after = {"assertion.answer"},
       .see = "assertion-and-interactiveassertion",
       .run = assertionRecord},
      {.name = "assertion.allowed",
       .passes = "only a passkey among allowedCredentials signs",
       .needs = {Need::host, Need::passkey},
       .after = {"assertion.answer"},
       .see = "assertion-and-interactiveassertion",
       .run = assertionAllowed},
      {.name = "assertion.relyingParty",
       .passes = "a passkey signs only for its own relying party",
       .needs = {Need::host, Need::passkey},
       .after = {"assertion.answer"},
       .see = "assertion-and-interactiveassertion",
       .run = assertionRelyingParty},
      {.name = "assertion.unknown",
       .passes = "no passkey signs for an unknown ID, or for one that was removed",
       .needs = {Need::host, Need::passkey},
       .after = {"assertion.answer"},
       .see = "refusals",
       .run = assertionUnknown},
      {.name = "assertion.authenticatorData",
       .passes = "the authenticator data names the relying party, and its flags are consistent",
       .needs = {Need::host, Need::passkey},
       .after = {"assertion.answer"},
       .see = "authenticator-data",
       .run = assertionAuthenticatorData},
      {.name = "assertion.interactive",
       .passes = "in an interactive request, too, the passkey that credentialID names signs",
       .needs = {Need::host, Need::passkey, Need::person},
       .after = {"assertion.answer"},
       .see = "assertion-and-interactiveassertion",
       .run = assertionInteractive},
      {.name = "assertion.list",
       .passes = "the passkey that the user chooses from the host's list signs",
       .needs = {Need::host, Need::passkey, Need::person},
       .after = {"assertion.interactive", "assertion.allowed"},
       .see = "assertion-and-interactiveassertion",
       .run = assertionList},
      {.name = "assertion.verification",
       .passes = "the user is verified where that is required",
       .needs = {Need::host, Need::passkey},
       .after = {"assertion.answer", "assertion.interactive"},
       .see = "assertion-and-interactiveassertion",
       .run = assertionVerification},
      {.name = "assertion.counter",
       .passes = "the sign count is always 0, or grows",
       .needs = {Need::host, Need::passkey},
       .after = {"assertion.credential", "assertion.authenticatorData"},
       .see = "authenticator-data",
       .run = assertionCounter},
      {.name = "assertion.signature",
       .passes = "the registered key verifies the signature",
       .needs = {Need::host, Need::passkey},
       .after = {"assertion.credential"},
       .see = "credentials",
       .run = assertionSignature},
      {.name = "assertion.userHandle",
       .passes = "the user handle is the registered one",
       .needs = {Need::host, Need::passkey},
       .after = {"assertion.credential"},
       .see = "credentials",
       .run = assertionUserHandle},
  };
}

}  // namespace korvan::lab::check
