#include <algorithm>
#include <string>

#include "channel/ProviderFrame.h"
#include "lab/check/Catalog.h"
#include "lab/check/CheckContext.h"
#include "lab/check/Requests.h"

namespace korvan::lab::check {
namespace {

Result answerOk(CheckContext& context) {
  const ProviderMessage request = synchronizeRequest(context.settings().attended);
  const ProviderMessage answer = context.exchange(request);
  const auto fail = [&](const std::string& got) {
    return failed({.sent = context.described(request),
                   .got = context.described(answer),
                   .wanted = "ok, true or false",
                   .hint = "ok is " + got + "; it must be a boolean"});
  };
  const PropertyListValue* const ok = valueForKey(answer, provider_message_key::ok);
  if (ok == nullptr) {
    return fail("missing");
  }
  if (ok->boolean()) {
    return passed();
  }
  if (const auto integer = ok->integer()) {
    return fail("the integer " + std::to_string(*integer));
  }
  if (const Text* const text = ok->text()) {
    return fail("the text " + std::string(text->view()));
  }
  return fail("of another kind");
}

}  // namespace

std::vector<Check> framingChecks() {
  return {
      {.name = "answer.ok",
       .passes = "an answer's ok is a boolean",
       .needs = {Need::host},
       .after = {"container.exists"},
       .see = "answers",
       .run = answerOk},
  };
}

}  // namespace korvan::lab::check
