#include "lab/site/AnswerKeys.h"

#include <string>

#include "lab/site/ValueWords.h"

namespace korvan::lab {
namespace {

namespace key = provider_message_key;
using Subject = Finding::Subject;

Finding missingKey(const ProviderMessage& answer, const WantedKey& key) {
  Flaw flaw{.wanted = std::string(key.name), .got = "no such key"};
  for (const auto& [name, value] : answer) {
    if (differInSpelling(name.view(), key.name)) {
      flaw.hint = "there is " + quotedText(name.view()) + ": keys are spelled exactly";
    }
  }
  return failing(Subject::kinds, std::string(key.name) + " is missing", std::move(flaw));
}

std::string hintForText(const WantedKey& key, std::string_view text) {
  const auto written = bytesWrittenAs(text);
  if (!written) {
    return "bytes are data, not a string";
  }
  if (key.value != nullptr && written->bytes == *key.value) {
    return "the " + std::string(written->writing) + " text of the right bytes: send them as data";
  }
  return "it looks like " + std::string(written->writing) + ": send the bytes as data";
}

std::string hintForKind(const WantedKey& key, const PropertyListValue& value) {
  if (key.kind == WantedKey::Kind::string) {
    return value.data() != nullptr ? "a text is a string, not its bytes" : "";
  }
  if (const auto* text = value.text()) {
    return hintForText(key, text->view());
  }
  return value.array() != nullptr ? "bytes are one data value, not an array of integers" : "";
}

Finding wrongKind(const WantedKey& key, const PropertyListValue& value) {
  const std::string wanted = key.kind == WantedKey::Kind::data ? "data" : "a string";
  return failing(Subject::kinds, std::string(key.name) + " is " + kindOf(value) + ", not " + wanted,
                 {.wanted = wanted, .got = wordsFor(value), .hint = hintForKind(key, value)});
}

bool isOfKind(const PropertyListValue& value, WantedKey::Kind kind) {
  return kind == WantedKey::Kind::data ? value.data() != nullptr : value.text() != nullptr;
}

Finding judgeRelyingParty(const std::string& got, const std::string& wanted) {
  if (got == wanted) {
    return holding(Subject::echoes, "made for " + wanted);
  }
  std::string hint = "answer with the request's relyingPartyIdentifier";
  if (got == "https://" + wanted) {
    hint = "that is the origin; the relying party is the domain alone";
  } else if (got.empty()) {
    hint = "it is empty";
  }
  return failing(Subject::echoes, "not made for " + wanted,
                 {.wanted = quotedText(wanted), .got = quotedText(got), .hint = hint});
}

Finding judgeHash(const Data& got, const Data& wanted) {
  if (got == wanted) {
    return holding(Subject::echoes, "answers this challenge");
  }
  const std::string mistake = mistakeBetween(wanted, got);
  return failing(Subject::echoes, "does not answer this challenge",
                 {.wanted = "the request's clientDataHash, " + wordsFor(wanted),
                  .got = wordsFor(got),
                  .hint = mistake.empty() ? "answer with the request's clientDataHash" : mistake});
}

}  // namespace

FindingList judgeKinds(const ProviderMessage& answer, std::span<const WantedKey> keys) {
  FindingList findings;
  for (const WantedKey& key : keys) {
    const auto found = answer.find(key.name);
    if (found == answer.end()) {
      findings.push_back(missingKey(answer, key));
    } else if (!isOfKind(found->second, key.kind)) {
      findings.push_back(wrongKind(key, found->second));
    }
  }
  return findings.empty() ? FindingList{holding(Subject::kinds, "every key, each of its kind")}
                          : findings;
}

FindingList judgeEchoes(const ProviderMessage& answer, const RequestTerms& terms) {
  FindingList findings;
  if (const auto relyingParty = stringForKey(answer, key::relyingPartyIdentifier)) {
    findings.push_back(judgeRelyingParty(*relyingParty, terms.relyingParty));
  }
  if (const auto hash = dataForKey(answer, key::clientDataHash)) {
    findings.push_back(judgeHash(*hash, terms.clientDataHash));
  }
  return findings;
}

}  // namespace korvan::lab
