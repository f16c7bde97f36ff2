#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "lab/site/AnswerJudge.h"
#include "lab/site/ValueWords.h"
#include "lab/support/VisibleText.h"

namespace korvan::lab {
namespace {

namespace key = provider_message_key;
namespace code = provider_error_code;
using Subject = Finding::Subject;

constexpr std::array<std::string_view, 7> Codes{code::failed,
                                                code::unavailable,
                                                code::vaultLocked,
                                                code::userInteractionRequired,
                                                code::userCanceled,
                                                code::credentialNotFound,
                                                code::matchedExcludedCredential};

const PropertyListValue* valueIn(const ProviderMessage& answer, std::string_view key) {
  const auto found = answer.find(key);
  return found == answer.end() ? nullptr : &found->second;
}

std::string hintForCode(std::string_view code) {
  for (const std::string_view known : Codes) {
    if (differInSpelling(known, code)) {
      return quotedText(code) + " counts as failed: meant " + quotedText(known) + "?";
    }
  }
  return quotedText(code) + " counts as failed";
}

std::string listOfCodes() {
  std::string list;
  for (const std::string_view code : Codes) {
    list.append(list.empty() ? "" : ", ").append(code);
  }
  return "one of " + list;
}

Finding judgeCode(const PropertyListValue* value) {
  const auto* const text = value != nullptr ? value->text() : nullptr;
  if (text == nullptr) {
    return failing(Subject::refusalCode, "the refusal has no code",
                   {.wanted = "errorCode, " + listOfCodes(),
                    .got = value != nullptr ? wordsFor(*value) : "no errorCode",
                    .hint = "a refusal without a code counts as failed"});
  }
  if (std::ranges::find(Codes, text->view()) == Codes.end()) {
    return failing(Subject::refusalCode, "the refusal has an unknown code",
                   {.wanted = listOfCodes(),
                    .got = quotedText(text->view()),
                    .hint = hintForCode(text->view())});
  }
  return holding(Subject::refusalCode, "refused with " + std::string(text->view()));
}

Finding judgeDescription(const PropertyListValue* value) {
  constexpr const char* Wanted = "errorDescription, a sentence for people";
  constexpr std::size_t LongestSentence = 1024;
  if (value == nullptr || (value->text() != nullptr && value->text()->view().empty())) {
    return warning(Subject::refusalDescription, "the refusal has no description",
                   {.wanted = Wanted,
                    .got = value == nullptr ? "no errorDescription" : "an empty one",
                    .hint = "the system has no sentence to show"});
  }
  const auto* const text = value->text();
  if (text == nullptr) {
    return failing(Subject::refusalDescription, "the refusal's description is not a string",
                   {.wanted = Wanted, .got = wordsFor(*value)});
  }
  if (text->view().size() > LongestSentence) {
    return warning(Subject::refusalDescription, "the refusal's description is very long",
                   {.wanted = Wanted,
                    .got = "a text of " + std::to_string(text->view().size()) + " bytes",
                    .hint = "the system may show all of it"});
  }
  if (visibleText(text->view()) != text->view()) {
    return failing(Subject::refusalDescription, "the refusal's description has control characters",
                   {.wanted = "letters and signs on one line", .got = quotedText(text->view())});
  }
  return holding(Subject::refusalDescription, "the refusal describes itself");
}

Finding judgeNotice(const PropertyListValue* value, bool silent) {
  if (value != nullptr && !value->boolean()) {
    return failing(Subject::refusalNotice, "showUnavailableUI is not a boolean",
                   {.wanted = "a boolean, or none", .got = wordsFor(*value)});
  }
  if (silent && value != nullptr && value->truthValue()) {
    return failing(Subject::refusalNotice, "a silent request is refused with the notice",
                   {.wanted = "showUnavailableUI only where the request allows interaction",
                    .got = "showUnavailableUI true",
                    .hint = "nobody is there to see the notice"});
  }
  return holding(Subject::refusalNotice, "the notice is not shown to nobody");
}

}  // namespace

FindingList judgeRefusal(const ProviderMessage& answer, bool silent) {
  return {judgeCode(valueIn(answer, key::errorCode)),
          judgeDescription(valueIn(answer, key::errorDescription)),
          judgeNotice(valueIn(answer, key::showUnavailableUI), silent)};
}

FindingList judgeEnvelope(const ProviderMessage& answer, bool silent) {
  FindingList findings = {judgeOk(answer)};
  const auto* const ok = valueIn(answer, key::ok);
  if (ok == nullptr || !ok->truthValue()) {
    const FindingList refusal = judgeRefusal(answer, silent);
    findings.insert(findings.end(), refusal.begin(), refusal.end());
  }
  return findings;
}

Finding judgeOk(const ProviderMessage& answer) {
  const auto* const value = valueIn(answer, key::ok);
  if (value != nullptr && value->boolean()) {
    return holding(Subject::ok, "ok is a boolean");
  }
  return failing(Subject::ok, value == nullptr ? "ok is missing" : "ok is not a boolean",
                 {.wanted = "ok, a boolean",
                  .got = value == nullptr ? "missing" : wordsFor(*value),
                  .hint = value == nullptr ? "an answer without ok counts as refused"
                                           : "true and false are booleans, not " + kindOf(*value)});
}

}  // namespace korvan::lab
