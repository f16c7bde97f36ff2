#include "lab/check/Judgment.h"

#include <algorithm>
#include <utility>

#include "lab/check/Requests.h"
#include "lab/site/AttestationReader.h"
#include "lab/site/ValueWords.h"

namespace korvan::lab::check {
namespace {

namespace key = provider_message_key;
namespace code = provider_error_code;
using Clock = std::chrono::steady_clock;
using Verdict = Finding::Verdict;

RequestTerms requestTerms(const ProviderMessage& request) {
  return {
      .relyingParty = *stringForKey(request, key::relyingPartyIdentifier),
      .clientDataHash = *dataForKey(request, key::clientDataHash),
      .verificationRequired = stringForKey(request, key::userVerificationPreference) == "required",
      .presenceRequired = stringForKey(request, key::type) != provider_request_type::registration ||
                          booleanForKey(request, key::allowsUserInteraction)};
}

const PropertyListValue::Array& arrayIn(const ProviderMessage& request, std::string_view key) {
  return *valueForKey(request, key)->array();
}

std::vector<Data> identifiersIn(const ProviderMessage& request, std::string_view key) {
  std::vector<Data> identifiers;
  for (const PropertyListValue& each : arrayIn(request, key)) {
    identifiers.push_back(*each.data());
  }
  return identifiers;
}

/// One text after another, without those that are empty.
void appendText(std::string& all, const std::string& more) {
  if (!more.empty()) {
    all.append(all.empty() ? "" : "; ").append(more);
  }
}

std::string refusalCodeOf(const ProviderMessage& answer) {
  return stringForKey(answer, key::errorCode).value_or("no errorCode");
}

/// What is to be said of a refusal with another code than the wanted one.
std::string hintForOtherCode(const ProviderMessage& answer) {
  for (const Finding& finding :
       findingsAbout(Finding::Subject::refusalCode, judgeRefusal(answer, false))) {
    if (finding.verdict == Verdict::fails) {
      return finding.hint;
    }
  }
  return "refused with " + quotedText(refusalCodeOf(answer));
}

std::optional<Data> coseKeyIn(const ProviderMessage& answer) {
  const auto object = dataForKey(answer, key::attestationObject);
  const auto bytes = object ? readAttestationObject(*object) : std::nullopt;
  const auto statement = bytes ? readAuthenticatorData(*bytes) : std::nullopt;
  const auto attested = statement ? readAttestedCredentialData(statement->rest) : std::nullopt;
  return attested ? std::optional(attested->coseKey) : std::nullopt;
}

std::string wordsForTime(Clock::duration duration) {
  const auto tenths = std::chrono::duration_cast<std::chrono::milliseconds>(duration).count() / 100;
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s";
}

Result tooLate(const CheckContext& context, const ProviderMessage& request, std::string got) {
  return failed({.sent = context.described(request),
                 .got = std::move(got),
                 .wanted = "an answer within 2 s",
                 .hint = "the request does not allow interaction: answer at once, without asking "
                         "the user"});
}

}  // namespace

bool needsUser(const ProviderMessage& answer) {
  const auto code = stringForKey(answer, key::errorCode);
  return !isOk(answer) && (code == code::userInteractionRequired || code == code::vaultLocked);
}

Exchange askSilently(CheckContext& context, const ProviderMessage& request) {
  const auto start = Clock::now();
  const auto isLate = [&] {
    return Clock::now() - start >= UnaskedTime || context.unanswered().contains(request);
  };
  try {
    Exchange exchange{.request = request, .answer = context.exchange(request)};
    if (isLate()) {
      throw CheckEnd(
          tooLate(context, request, "an answer after " + wordsForTime(Clock::now() - start)));
    }
    return exchange;
  } catch (const CheckEnd& end) {
    throw CheckEnd(isLate() ? tooLate(context, request, end.result().findings.got) : end.result());
  }
}

Exchange askToSign(CheckContext& context, ProviderMessage request) {
  ProviderMessage answer = context.exchange(request);
  if (!needsUser(answer)) {
    return {.request = std::move(request), .answer = std::move(answer)};
  }
  if (!context.settings().attended) {
    throw CheckEnd(
        skipped("the host does not sign without its user: " + context.described(answer)));
  }
  request[key::type] = provider_request_type::interactiveAssertion;
  request[key::allowsUserInteraction] = true;
  return askUserToSign(context, request, "Now: agree in your host to sign in.");
}

Exchange askUserToSign(CheckContext& context, const ProviderMessage& request,
                       const std::string& sentence) {
  context.tellPerson(sentence);
  return {.request = request, .answer = context.exchange(request)};
}

Exchange askToRegister(CheckContext& context, const ProviderMessage& request) {
  const std::string relyingParty = *stringForKey(request, key::relyingPartyIdentifier);
  if (booleanForKey(request, key::allowsUserInteraction)) {
    context.tellPerson("Now: agree in your host, if it asks, to a passkey for " + relyingParty +
                       ".");
  }
  Exchange exchange{.request = request, .answer = context.exchange(request)};
  context.passkeys().remember(exchange.request, exchange.answer);
  return exchange;
}

RegistrationReview reviewOf(const Exchange& exchange) {
  RegistrationTerms terms{
      .request = requestTerms(exchange.request),
      .userHandle = *dataForKey(exchange.request, key::userHandle),
      .algorithms = {},
      .excludedCredentials = identifiersIn(exchange.request, key::excludedCredentials)};
  for (const PropertyListValue& each : arrayIn(exchange.request, key::supportedAlgorithms)) {
    terms.algorithms.push_back(*each.integer());
  }
  if (terms.algorithms.empty()) {
    terms.algorithms.push_back(Es256);
  }
  return judgeRegistration(exchange.answer, terms);
}

RegistrationReview reviewOf(const CheckPasskey& passkey) {
  return reviewOf(registrationOf(passkey));
}

AssertionTerms assertionTerms(const Exchange& exchange, const CheckPasskey& passkey) {
  const Data credentialID = *dataForKey(exchange.request, key::credentialID);
  return {.request = requestTerms(exchange.request),
          .credentialID = credentialID.empty() ? std::nullopt : std::optional(credentialID),
          .allowedCredentials = identifiersIn(exchange.request, key::allowedCredentials),
          .passkey = reviewOf(passkey).passkey};
}

void requireServed(const CheckContext& context, const Exchange& exchange, std::string_view wanted,
                   std::string_view hint) {
  if (!isOk(exchange.answer)) {
    throw CheckEnd(failed({.sent = context.described(exchange.request),
                           .got = context.described(exchange.answer),
                           .wanted = std::string(wanted),
                           .hint = std::string(hint)}));
  }
}

Result refusedWith(const CheckContext& context, const Exchange& exchange, std::string_view code,
                   std::string_view hint) {
  const bool served = isOk(exchange.answer);
  if (!served && refusalCodeOf(exchange.answer) == code) {
    return passed();
  }
  return failed({.sent = context.described(exchange.request),
                 .got = context.described(exchange.answer),
                 .wanted = "a refusal with " + std::string(code),
                 .hint = served ? std::string(hint) : hintForOtherCode(exchange.answer)});
}

Result resultOf(const CheckContext& context, const Exchange& exchange, const FindingList& findings,
                std::initializer_list<Finding::Subject> subjects) {
  Findings flaws{.sent = context.described(exchange.request), .got = {}, .wanted = {}, .hint = {}};
  bool fails = false;
  bool warns = false;
  bool holds = false;
  std::string why = "it cannot be seen in the answer";
  for (const Finding& finding : findings) {
    if (std::ranges::find(subjects, finding.subject) == subjects.end()) {
      continue;
    }
    fails = fails || finding.verdict == Verdict::fails;
    warns = warns || finding.verdict == Verdict::warns;
    holds = holds || finding.verdict == Verdict::holds;
    if (finding.verdict == Verdict::notChecked) {
      why = finding.words;
    } else if (finding.verdict != Verdict::holds) {
      appendText(flaws.got, finding.got);
      appendText(flaws.wanted, finding.wanted);
      appendText(flaws.hint, finding.words + (finding.hint.empty() ? "" : ": " + finding.hint));
    }
  }
  if (fails || warns) {
    return fails ? failed(std::move(flaws)) : warned(std::move(flaws));
  }
  return holds ? passed() : skipped(why);
}

void requireDifferent(const CheckContext& context, const Exchange& first, const Exchange& second,
                      const std::string& whose, const std::string& advice) {
  const auto require = [&](const std::string& what, const std::optional<Data>& older,
                           const std::optional<Data>& newer) {
    if (older && older == newer) {
      throw CheckEnd(failed({.sent = context.described(second.request),
                             .got = "twice the same " + what + ", " + wordsFor(*newer),
                             .wanted = "another " + what + " for each passkey",
                             .hint = whose + " have the same " + what + advice}));
    }
  };
  require("credential ID", dataForKey(first.answer, key::credentialID),
          dataForKey(second.answer, key::credentialID));
  require("public key", coseKeyIn(first.answer), coseKeyIn(second.answer));
}

Result newFlawIn(const CheckContext& context, const Exchange& exchange,
                 const std::optional<Exchange>& other, const CheckPasskey& passkey) {
  using Subject = Finding::Subject;
  const auto isRightInOther = [&](Subject subject) {
    return !other ||
           resultOf(context, *other, judgeAssertion(other->answer, assertionTerms(*other, passkey)),
                    {subject})
                   .outcome == Outcome::passed;
  };
  const auto findings = judgeAssertion(exchange.answer, assertionTerms(exchange, passkey));
  for (const Subject subject :
       {Subject::kinds, Subject::echoes, Subject::credential, Subject::userHandle,
        Subject::authenticatorData, Subject::flags, Subject::signature}) {
    const Result result = resultOf(context, exchange, findings, {subject});
    if (result.outcome == Outcome::failed && isRightInOther(subject)) {
      return result;
    }
  }
  return passed();
}

}  // namespace korvan::lab::check
