#include "lab/browser/EntryPointCaller.h"

#include "lab/json/CallParser.h"
#include "lab/json/JsonFields.h"

namespace korvan::lab {
namespace {

bool wantsTheUser(const Outcome& outcome) {
  const auto* const canceled = std::get_if<Canceled>(&outcome);
  return canceled != nullptr && canceled->error.domain == ErrorDomain::extension &&
         canceled->error.code ==
             static_cast<std::int64_t>(ExtensionErrorCode::userInteractionRequired);
}

}  // namespace

CallResult EntryPointCaller::serve(const BrowserRequest& request) {
  switch (request.kind) {
    case BrowserRequest::Kind::create:
      return call(registrationLine(request));
    case BrowserRequest::Kind::get:
      return signIn(request);
    case BrowserRequest::Kind::signal:
      return call(reportLine(request));
    case BrowserRequest::Kind::configure:
      return call(configurationLine());
  }
  return {};
}

CallResult EntryPointCaller::signIn(const BrowserRequest& request) {
  const auto known = identities_.find(allowedCredentials(request));
  if (!known) {
    return call(credentialListLine(request));
  }
  CallResult result = call(assertionLine(request, *known, false));
  if (wantsTheUser(result.outcome)) {
    result = call(assertionLine(request, *known, true));
  }
  return result;
}

CallResult EntryPointCaller::call(const nlohmann::json& line) {
  const auto parsed = parseCall(line.dump());
  if (!parsed) {
    throw InvalidLine(parsed.error());
  }
  called_.push_back(line.at("entryPoint"));
  return runner_.run(*parsed);
}

}  // namespace korvan::lab
