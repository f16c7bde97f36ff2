#include <string>
#include <string_view>
#include <vector>

#include "channel/ProviderMessage.h"
#include "lab/check/broken-host/Alterations.h"
#include "lab/check/broken-host/Mistake.h"

namespace korvan::lab::broken {
namespace {

/// Alters every refusal.
auto inRefusals(void (*alter)(Message& answer)) {
  return [alter](const Message& /*request*/, Message& answer) {
    if (!booleanForKey(answer, "ok")) {
      alter(answer);
    }
  };
}

/// Alters the refusals of registrations, which a run does not expect with a certain code.
auto inRefusalsOfAlgorithms(void (*alter)(Message& answer)) {
  return [alter](const Message& request, Message& answer) {
    if (isRegistration(request) && stringForKey(answer, "errorCode") == "failed") {
      alter(answer);
    }
  };
}

}  // namespace

std::vector<Mistake> refusalMistakes() {
  return {
      {.name = "spells-a-code-with-a-capital",
       .fails = {"refusal.code"},
       .hint = R"("Failed" counts as failed: meant "failed"?)",
       .answer = inRefusalsOfAlgorithms([](Message& answer) { answer["errorCode"] = "Failed"; })},
      {.name = "invents-a-code",
       .fails = {"refusal.code"},
       .hint = "\"noAlgorithm\" counts as failed",
       .answer =
           inRefusalsOfAlgorithms([](Message& answer) { answer["errorCode"] = "noAlgorithm"; })},
      {.name = "refuses-without-a-code",
       .fails = {"refusal.code"},
       .hint = "a refusal without a code counts as failed",
       .answer = inRefusalsOfAlgorithms([](Message& answer) { answer.erase(Text("errorCode")); })},
      {.name = "spells-not-found-differently",
       .fails = {"assertion.record", "assertion.allowed", "assertion.relyingParty",
                 "assertion.unknown", "refusal.code"},
       .hint = R"("CredentialNotFound" counts as failed: meant "credentialNotFound"?)",
       .answer =
           [](const auto& /*request*/, auto& answer) {
             if (stringForKey(answer, "errorCode") == "credentialNotFound") {
               answer["errorCode"] = "CredentialNotFound";
             }
           }},
      {.name = "colors-its-descriptions",
       .fails = {"refusal.description"},
       .hint = "the refusal's description has control characters",
       .answer = inRefusals(
           [](Message& answer) { answer["errorDescription"] = "\x1b[32m✓ verified\x1b[0m"; })},
      {.name = "describes-with-a-number",
       .fails = {"refusal.description"},
       .hint = "the refusal's description is not a string",
       .answer = inRefusals([](Message& answer) { answer["errorDescription"] = 101; })},
      {.name = "describes-refusals-at-length",
       .fails = {},
       .hint = "the refusal's description is very long",
       .warns = {"refusal.description"},
       .answer = inRefusals([](Message& answer) {
         static const std::string description(1'000'000, 'x');
         answer["errorDescription"] = description;
       })},
      {.name = "does-not-describe-refusals",
       .fails = {},
       .hint = "the system has no sentence to show",
       .warns = {"refusal.description"},
       .answer = inRefusals([](Message& answer) { answer.erase(Text("errorDescription")); })},
      {.name = "shows-the-notice-to-nobody",
       .fails = {"refusal.notice"},
       .hint = "nobody is there to see the notice",
       .answer = inRefusals([](Message& answer) { answer["showUnavailableUI"] = true; })},
  };
}

}  // namespace korvan::lab::broken
