#include "lab/soak/RightOutcomes.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "channel/ProviderMessage.h"
#include "lab/soak/plan/SoakScript.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace korvan::lab::soak {
namespace {

using Outcomes = std::vector<Outcome>;

constexpr std::string_view Closed = "Korvan closed the credential-provider connection.";

std::string failed(std::string_view step, int error) {
  // Called on the main thread alone, and by no other thread meanwhile.
  return std::string(step) + " failed: " + std::strerror(error);  // NOLINT(concurrency-mt-unsafe)
}

Outcome cancelled(ExtensionErrorCode code, std::optional<std::string> description,
                  bool noticeShown = false) {
  return Cancelled{
      .error = {.domain = ErrorDomain::extension,
                .code = static_cast<std::int64_t>(code),
                .userInfo = ErrorUserInfo{.localizedDescription = std::move(description)}},
      .noticeShown = noticeShown};
}

/// What becomes of a host that gives no usable answer.
Outcome unavailable(std::string_view description, bool isLaunched) {
  return isLaunched
             ? cancelled(ExtensionErrorCode::failed,
                         "Korvan opened, but the credential provider could not connect to it in "
                         "time.",
                         true)
             : cancelled(ExtensionErrorCode::failed, std::string(description));
}

/// The ways in which the kernel tells that the host closed before it had read everything.
Outcomes closedWhileSending(bool isLaunched, bool mayBeGone) {
  Outcomes outcomes = {unavailable(failed("Writing to Korvan", EPIPE), isLaunched),
                       unavailable(failed("Writing to Korvan", ECONNRESET), isLaunched),
                       unavailable(failed("Reading from Korvan", ECONNRESET), isLaunched)};
  if (mayBeGone) {
    outcomes.push_back(unavailable(
        "Reading the Korvan peer code signature failed: there is no such process", isLaunched));
  }
  return outcomes;
}

bool isReport(Ask ask) { return ask >= Ask::updateUserName; }

/// What a message of the host leads to that says that it succeeded.
Outcome completed(Ask ask, const ProviderMessage& answer) {
  switch (ask) {
    case Ask::configuration:
      return CompletedConfiguration();
    case Ask::interactiveRegistration:
    case Ask::conditionalRegistration:
      return CompletedRegistration{{.relyingParty = stringForKey(answer, "relyingPartyIdentifier"),
                                    .clientDataHash = dataForKey(answer, "clientDataHash"),
                                    .credentialID = dataForKey(answer, "credentialID"),
                                    .attestationObject = dataForKey(answer, "attestationObject")}};
    default:
      return CompletedAssertion{{.userHandle = dataForKey(answer, "userHandle"),
                                 .relyingParty = stringForKey(answer, "relyingPartyIdentifier"),
                                 .signature = dataForKey(answer, "signature"),
                                 .clientDataHash = dataForKey(answer, "clientDataHash"),
                                 .authenticatorData = dataForKey(answer, "authenticatorData"),
                                 .credentialID = dataForKey(answer, "credentialID")}};
  }
}

ExtensionErrorCode codeOf(std::string_view errorCode) {
  using Pair = std::pair<std::string_view, ExtensionErrorCode>;
  constexpr std::array codes = {
      Pair{provider_error_code::vaultLocked, ExtensionErrorCode::userInteractionRequired},
      Pair{provider_error_code::userInteractionRequired,
           ExtensionErrorCode::userInteractionRequired},
      Pair{provider_error_code::userCanceled, ExtensionErrorCode::userCanceled},
      Pair{provider_error_code::credentialNotFound, ExtensionErrorCode::credentialIdentityNotFound},
      Pair{provider_error_code::matchedExcludedCredential,
           ExtensionErrorCode::matchedExcludedCredential}};
  for (const auto& [name, code] : codes) {
    if (name == errorCode) {
      return code;
    }
  }
  return ExtensionErrorCode::failed;
}

Outcome refused(const SoakPlan& plan, std::uint64_t number, bool noticeShown) {
  return cancelled(codeOf(refusalOf(plan, number)), std::string(RefusalDescription), noticeShown);
}

/// The decoder's own words on the body: what it is that it cannot read is its to say.
Outcome undecodable(const SoakPlan& plan, std::uint64_t number, bool isLaunched) {
  const auto decoded =
      LinuxPropertyListSerialization().decode(receivedBody(scriptFor(plan, number)));
  return unavailable(decoded ? "(the body can be decoded)"
                             : decoded.error().localizedDescription.value_or("(no words)"),
                     isLaunched);
}

}  // namespace

Outcomes rightOutcomes(const SoakPlan& plan, std::uint64_t number, bool isLaunched) {
  const Ask ask = plan.askOf(number);
  if (isReport(ask)) {
    return {Returned()};
  }
  switch (plan.behaviourOf(number)) {
    case Behaviour::answer:
    case Behaviour::answerInDrops:
    case Behaviour::answerWithMore:
    case Behaviour::answerLarge:
      return {completed(ask, successOf(plan, ask, number))};
    case Behaviour::answerWithoutFields:
    case Behaviour::answerMistyped:
    case Behaviour::sendOtherFormat:
      return {completed(ask, {})};
    case Behaviour::answerOtherRequest:
      // The host is trusted: the extension compares nothing.
      return {completed(ask, successOf(plan, ask, mistakenNumber(number)))};
    case Behaviour::answerOtherType:
      return {completed(ask, successOf(plan, mistakenAsk(ask), number))};
    case Behaviour::answerWithoutOk:
    case Behaviour::answerMistypedOk:
      return {cancelled(ExtensionErrorCode::failed, std::nullopt)};
    case Behaviour::refuse:
      return {refused(plan, number, false)};
    case Behaviour::refuseWithNotice:
      return {refused(plan, number, true)};
    case Behaviour::sendArray:
      return {unavailable("Korvan returned an invalid response.", isLaunched)};
    case Behaviour::sendGarbage:
    case Behaviour::announceLess:
      return {undecodable(plan, number, isLaunched)};
    case Behaviour::announceNothing:
    case Behaviour::announceTooMuch:
      return {unavailable("Korvan returned a credential-provider message with an invalid size.",
                          isLaunched)};
    case Behaviour::closeAtOnce:
    case Behaviour::closeAfterPrefix:
    case Behaviour::closeInRequest:
      return closedWhileSending(isLaunched, false);
    case Behaviour::dieBeforeAccept:
    case Behaviour::dieAtOnce:
    case Behaviour::dieAfterPrefix:
    case Behaviour::dieInRequest:
      return closedWhileSending(isLaunched, true);
    case Behaviour::closeAfterRequest:
    case Behaviour::stallAndClose:
    case Behaviour::closeInAnswerPrefix:
    case Behaviour::closeAfterAnswerPrefix:
    case Behaviour::closeInAnswer:
    case Behaviour::dieAfterRequest:
    case Behaviour::dieInAnswerPrefix:
    case Behaviour::dieAfterAnswerPrefix:
    case Behaviour::dieInAnswer:
      return {unavailable(Closed, isLaunched)};
  }
  return {};
}

Outcomes outcomesOfOutage(const SoakPlan& plan, std::uint64_t number, bool isLaunched) {
  if (isReport(plan.askOf(number))) {
    return {Returned()};
  }
  Outcomes outcomes = closedWhileSending(isLaunched, true);
  outcomes.push_back(unavailable(Closed, isLaunched));
  // There is a socket that nobody listens on; or, for a moment when a host starts, none.
  outcomes.push_back(unavailable(failed("Connecting to Korvan", ECONNREFUSED), isLaunched));
  outcomes.push_back(unavailable(failed("Connecting to Korvan", ENOENT), isLaunched));
  return outcomes;
}

}  // namespace korvan::lab::soak
