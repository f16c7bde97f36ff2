#include "lab/check/groups/RobustnessSteps.h"

#include <chrono>
#include <tuple>

#include "channel/ProviderFrame.h"
#include "lab/check/Check.h"
#include "lab/check/Requests.h"

namespace korvan::lab::check {
namespace {

using namespace std::chrono_literals;
namespace key = provider_message_key;

/// What has become of a host that serves no more.
std::string hintOnEnd(CheckContext& context, const std::string& reason,
                      const std::string& question) {
  context.waits().restart();
  if (context.hasProgram() && context.program().endsWithin(context.waits(), 1s)) {
    const std::string ending = context.program().ending();
    return ending == "was ended by SIGPIPE" ? "ended by SIGPIPE: ignore it"
                                            : "the host " + ending + " after " + reason + question;
  }
  return context.hostListens() ? "the host does not answer any more after " + reason
                               : "the host has ended after " + reason + question;
}

}  // namespace

ProviderMessage plainRequest(const CheckContext& context) {
  return synchronizeRequest(context.settings().attended);
}

RequestBytes frameOf(const Data& body) {
  const ProviderFramePrefix prefix = encodeProviderFramePrefix(body.size());
  RequestBytes frame(prefix.begin(), prefix.end());
  frame.insert(frame.end(), body.bytes().begin(), body.bytes().end());
  return frame;
}

Data filledRequest(const CheckContext& context, std::size_t fillerSize) {
  ProviderMessage request = plainRequest(context);
  request["checkHostUnknown"] = Data(RequestBytes(fillerSize, 0xa5));
  return context.encoded(request);
}

ProviderMessage unknownRequest() {
  return {{"type", "checkHostUnknown"}, {"allowsUserInteraction", false}};
}

void startStep(CheckContext& context, Waits::Clock::time_point start) {
  const auto spent = std::chrono::duration_cast<Waits::Duration>(Waits::Clock::now() - start);
  if (spent > context.waits().timeout()) {
    context.endAsTooSlow("some of the requests took " + std::to_string(spent.count()) + " ms");
  }
  context.waits().restart();
}

void requireNextAnswer(CheckContext& context, const std::string& reason,
                       const std::string& question) {
  context.waits().restart();
  try {
    std::ignore = context.exchange(plainRequest(context));
  } catch (const CheckEnd& end) {
    Findings findings = end.result().findings;
    findings.sent = reason + ", and then a request";
    findings.wanted = "an answer to that";
    findings.hint = hintOnEnd(context, reason, question);
    throw CheckEnd(failed(findings));
  }
}

ProviderMessage silentAssertion(CheckContext& context, std::string_view relyingParty,
                                const Data& credentialID) {
  const ProviderMessage request = assertionRequest(relyingParty, credentialID, false);
  ProviderMessage answer;
  try {
    answer = context.exchange(request);
  } catch (const CheckEnd& end) {
    if (end.result().outcome == Outcome::skipped || !end.result().because.empty()) {
      throw;
    }
    throw CheckEnd(skipped("a silent assertion was not answered: " + end.result().findings.got));
  }
  if (!booleanForKey(answer, key::ok)) {
    throw CheckEnd(skipped("a silent assertion was answered with " + context.described(answer)));
  }
  if (dataForKey(answer, key::clientDataHash) != dataForKey(request, key::clientDataHash)) {
    throw CheckEnd(skipped("an assertion's answer has another hash; see assertion.answer"));
  }
  return answer;
}

}  // namespace korvan::lab::check
