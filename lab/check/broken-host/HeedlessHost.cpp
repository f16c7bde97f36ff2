#include <string_view>

#include "channel/ProviderMessage.h"
#include "lab/check/broken-host/Mistake.h"

namespace korvan::lab::broken {
namespace {

constexpr std::string_view OnlyRelyingParty = "check-host.invalid";

void heedNothing(PropertyListDictionary& request) {
  const auto type = stringForKey(request, "type");
  if (type == "registration") {
    request["supportedAlgorithms"] = PropertyListValue::Array{};
    request["excludedCredentials"] = PropertyListValue::Array{};
  } else if (type == "assertion" || type == "interactiveAssertion") {
    request["relyingPartyIdentifier"] = OnlyRelyingParty;
    request["recordIdentifier"] = "";
    request["credentialID"] = Data();
    request["allowedCredentials"] = PropertyListValue::Array{};
  } else {
    request["type"] = "synchronize";
  }
}

/// Answers for whatever relying party is asked for.
void repeatRelyingParty(const PropertyListDictionary& request, PropertyListDictionary& answer) {
  const auto wanted = stringForKey(request, "relyingPartyIdentifier");
  if (wanted && answer.contains("relyingPartyIdentifier")) {
    answer["relyingPartyIdentifier"] = *wanted;
  }
}

}  // namespace

const Mistake& heedlessness() {
  static const Mistake mistake{.name = "heeds-nothing",
                               .fails = {},
                               .hint = {},
                               .request = heedNothing,
                               .answer = repeatRelyingParty};
  return mistake;
}

}  // namespace korvan::lab::broken
