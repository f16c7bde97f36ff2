#include <optional>
#include <tuple>

#include "lab/check/Catalog.h"
#include "lab/check/CheckContext.h"
#include "lab/check/Judgment.h"

namespace korvan::lab::check {
namespace {

using Subject = Finding::Subject;

/// The worst that is to be said of a subject, over all refusals of the run.
Result resultOfRefusals(CheckContext& context, Subject subject) {
  // So that there is one even where this check runs alone.
  std::ignore = context.exchange({{"type", "noSuchRequest"}, {"allowsUserInteraction", false}});
  std::optional<Result> worst;
  for (const JudgedRefusal& refusal : context.refusals()) {
    const Result result =
        resultOf(context, {.request = refusal.request, .answer = {}}, refusal.findings, {subject});
    if (result.outcome == Outcome::failed) {
      return result;
    }
    if (!worst || result.outcome == Outcome::warned) {
      worst = result;
    }
  }
  return worst ? *worst : skipped("the host has refused nothing");
}

Result refusalCode(CheckContext& context) {
  return resultOfRefusals(context, Subject::refusalCode);
}

Result refusalDescription(CheckContext& context) {
  return resultOfRefusals(context, Subject::refusalDescription);
}

Result refusalNotice(CheckContext& context) {
  return resultOfRefusals(context, Subject::refusalNotice);
}

}  // namespace

std::vector<Check> refusalChecks() {
  return {
      {.name = "refusal.code",
       .passes = "every refusal has a known code, spelled exactly",
       .needs = {Need::host},
       .after = {"answer.ok"},
       .see = "refusals",
       .run = refusalCode},
      {.name = "refusal.description",
       .passes = "every refusal describes itself, without control characters",
       .needs = {Need::host},
       .after = {"answer.ok"},
       .see = "refusals",
       .run = refusalDescription},
      {.name = "refusal.notice",
       .passes = "no silent request is refused with the notice",
       .needs = {Need::host},
       .after = {"answer.ok"},
       .see = "refusals",
       .run = refusalNotice},
  };
}

}  // namespace korvan::lab::check
