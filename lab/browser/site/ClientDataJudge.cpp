#include "lab/browser/site/ClientDataJudge.h"

#include <exception>

#include <nlohmann/json.hpp>

#include "lab/browser/site/ShallowJson.h"
#include "lab/site/ValueWords.h"
#include "lab/support/VisibleText.h"

namespace korvan::lab {
namespace {

using Subject = Finding::Subject;
using nlohmann::json;

/// Null for what cannot be read.
json objectIn(std::string_view text) {
  try {
    return shallowJson(text);
  } catch (const std::exception& /*error*/) {
    return nullptr;
  }
}

std::string shown(const json& value) {
  return visibleText(value.dump(-1, ' ', false, json::error_handler_t::replace));
}

/// `name` with what it states in words.
Finding judgeMember(const json& clientData, const char* name, const json& wanted,
                    const std::string& states) {
  const auto found = clientData.find(name);
  if (found != clientData.end() && *found == wanted) {
    return holding(Subject::echoes, "the client data " + states);
  }
  return failing(Subject::echoes, "the client data's " + std::string(name) + " is another",
                 {.wanted = shown(wanted),
                  .got = found == clientData.end() ? "no such member" : shown(*found)});
}

}  // namespace

FindingList judgeClientData(std::string_view clientDataJSON, const ClientDataTerms& terms) {
  const json clientData = objectIn(clientDataJSON);
  if (!clientData.is_object()) {
    return {failing(Subject::echoes, "the client data is not a JSON object",
                    {.wanted = "an object with type, challenge and origin",
                     .got = quotedText(clientDataJSON)})};
  }
  // An absent crossOrigin means false.
  json complete = clientData;
  complete.emplace("crossOrigin", false);
  return {judgeMember(complete, "type", terms.type, "is of type " + terms.type),
          judgeMember(complete, "challenge", terms.challenge, "answers this challenge"),
          judgeMember(complete, "origin", terms.origin, "names this page's origin"),
          judgeMember(complete, "crossOrigin", terms.crossOrigin,
                      terms.crossOrigin ? "says that the page is in a frame of another origin"
                                        : "says that no other origin embeds the page")};
}

}  // namespace korvan::lab
