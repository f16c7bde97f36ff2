#include "lab/browser/BrowserRequest.h"

#include <algorithm>
#include <array>
#include <utility>

#include "lab/json/JsonFields.h"
#include "lab/site/ValueWords.h"
#include "lab/support/Base64Url.h"

namespace korvan::lab {
namespace {

using Json = nlohmann::json;
using Kind = BrowserRequest::Kind;

constexpr std::array<std::pair<std::string_view, Kind>, 4> Kinds{{{"create", Kind::create},
                                                                  {"get", Kind::get},
                                                                  {"signal", Kind::signal},
                                                                  {"configure", Kind::configure}}};

constexpr const char* Override = "remoteDesktopClientOverride";

std::string required(const JsonFields& fields, std::string_view key) {
  auto text = fields.string(key);
  if (!text) {
    throw InvalidLine(fields.place(key) + " is missing; it must be a string.");
  }
  return *std::move(text);
}

JsonFields requiredObject(const JsonFields& fields, std::string_view key) {
  const auto object = fields.object(key);
  if (!object) {
    throw InvalidLine(fields.place(key) + " is missing; it must be an object.");
  }
  return *object;
}

JsonFields detailsOf(const BrowserRequest& request) { return {request.details, "details"}; }

Kind kindNamed(const std::string& name) {
  const auto* const found = std::ranges::find(Kinds, name, &decltype(Kinds)::value_type::first);
  if (found == Kinds.end()) {
    throw InvalidLine("kind is \"" + name + "\"; it must be create, get, signal or configure.");
  }
  return found->second;
}

/// The members in the order in which browsers write them.
/// https://www.w3.org/TR/webauthn-3/#clientdatajson-serialization
std::string clientDataFor(const BrowserRequest& request, bool sameOriginWithAncestors) {
  return nlohmann::ordered_json{
      {"type", request.kind == Kind::create ? "webauthn.create" : "webauthn.get"},
      {"challenge", required(detailsOf(request), "challenge")},
      {"origin", request.origin},
      {"crossOrigin", !sameOriginWithAncestors}}
      .dump();
}

/// Moves what the browser says about the page out of the details, which are what the page asked.
void takePage(BrowserRequest& request) {
  const JsonFields page =
      requiredObject(requiredObject(detailsOf(request), "extensions"), Override);
  request.origin = required(page, "origin");
  const Json& sameOrigin = request.details["extensions"][Override]["sameOriginWithAncestors"];
  if (!sameOrigin.is_boolean()) {
    throw InvalidLine(page.place("sameOriginWithAncestors") + " must be true or false.");
  }
  request.clientDataJSON = clientDataFor(request, sameOrigin.get<bool>());
  request.details["extensions"].erase(Override);
}

BrowserRequest readBrowserRequest(const Json& tree) {
  const JsonFields message(tree, "");
  BrowserRequest request;
  request.kind = kindNamed(required(message, "kind"));
  if (request.kind == Kind::configure) {
    return request;
  }
  requiredObject(message, "details");
  request.details = tree["details"];
  if (request.kind == Kind::signal) {
    request.method = required(message, "method");
    request.origin = required(message, "origin");
    return request;
  }
  request.conditional = tree.value("conditional", Json()) == true;
  takePage(request);
  return request;
}

std::string clientDataHash(const BrowserRequest& request) {
  return base64Url(sha256(request.clientDataJSON).bytes());
}

/// The standard's default is "preferred".
std::string verificationIn(const JsonFields& fields) {
  return fields.string("userVerification").value_or("preferred");
}

std::vector<std::string> identifiersIn(const JsonFields& details, std::string_view key) {
  std::vector<std::string> identifiers;
  for (const JsonFields& each : details.objects(key).value_or(std::vector<JsonFields>())) {
    identifiers.push_back(required(each, "id"));
  }
  return identifiers;
}

Json algorithmsIn(const BrowserRequest& request) {
  Json algorithms = Json::array();
  const auto parameters = detailsOf(request).objects("pubKeyCredParams");
  for (std::size_t index = 0; parameters && index < parameters->size(); ++index) {
    algorithms.push_back(request.details["pubKeyCredParams"][index].value("alg", Json()));
  }
  return algorithms;
}

Json excludedIn(const JsonFields& details) {
  Json excluded = Json::array();
  for (const std::string& identifier : identifiersIn(details, "excludeCredentials")) {
    excluded.push_back({{"credentialID", identifier}});
  }
  return excluded;
}

}  // namespace

std::string_view BrowserRequest::kindName() const {
  return std::ranges::find(Kinds, kind, &decltype(Kinds)::value_type::second)->first;
}

std::expected<BrowserRequest, std::string> parseBrowserRequest(std::string_view message) {
  const Json tree = Json::parse(message, nullptr, false);
  if (!tree.is_object()) {
    return std::unexpected(tree.is_discarded() ? "The browser's message is not JSON."
                                               : "The browser's message must be an object.");
  }
  try {
    return readBrowserRequest(tree);
  } catch (const InvalidLine& invalid) {
    return std::unexpected("The browser's message is wrong: " + invalid.reason());
  }
}

Json registrationLine(const BrowserRequest& request) {
  const JsonFields details = detailsOf(request);
  const JsonFields user = requiredObject(details, "user");
  const auto selection = details.object("authenticatorSelection");
  return {{"entryPoint", request.conditional
                             ? "performPasskeyRegistrationWithoutUserInteractionIfPossible:"
                             : "prepareInterfaceForPasskeyRegistration:"},
          {"request",
           {{"class", "ASPasskeyCredentialRequest"},
            {"credentialIdentity",
             {{"relyingPartyIdentifier", required(requiredObject(details, "rp"), "id")},
              {"userName", required(user, "name")},
              {"userHandle", required(user, "id")}}},
            {"clientDataHash", clientDataHash(request)},
            {"userVerificationPreference", selection ? verificationIn(*selection) : "preferred"},
            {"supportedAlgorithms", algorithmsIn(request)},
            {"excludedCredentials", excludedIn(details)}}}};
}

Json assertionLine(const BrowserRequest& request, const KnownIdentity& identity, bool interactive) {
  return {{"entryPoint", interactive ? "prepareInterfaceToProvideCredentialForRequest:"
                                     : "provideCredentialWithoutUserInteractionForRequest:"},
          {"request",
           {{"class", "ASPasskeyCredentialRequest"},
            {"credentialIdentity",
             {{"relyingPartyIdentifier", identity.relyingParty},
              {"userName", identity.userName},
              {"userHandle", identity.userHandle},
              {"credentialID", identity.credentialID}}},
            {"clientDataHash", clientDataHash(request)},
            {"userVerificationPreference", verificationIn(detailsOf(request))}}}};
}

Json credentialListLine(const BrowserRequest& request) {
  const AllowedCredentials allowed = allowedCredentials(request);
  return {{"entryPoint", "prepareCredentialListForServiceIdentifiers:requestParameters:"},
          {"serviceIdentifiers", Json::array()},
          {"requestParameters",
           {{"relyingPartyIdentifier", allowed.relyingParty},
            {"clientDataHash", clientDataHash(request)},
            {"userVerificationPreference", verificationIn(detailsOf(request))},
            {"allowedCredentials", allowed.credentialIDs}}}};
}

Json reportLine(const BrowserRequest& request) {
  const Json& details = request.details;
  Json line;
  if (request.method == "signalUnknownCredential") {
    line = {{"entryPoint", "reportUnknownPublicKeyCredentialForRelyingParty:credentialID:"},
            {"credentialID", details.value("credentialId", Json())}};
  } else if (request.method == "signalAllAcceptedCredentials") {
    line = {{"entryPoint",
             "reportAllAcceptedPublicKeyCredentialsForRelyingParty:userHandle:"
             "acceptedCredentialIDs:"},
            {"userHandle", details.value("userId", Json())},
            {"acceptedCredentialIDs", details.value("allAcceptedCredentialIds", Json())}};
  } else if (request.method == "signalCurrentUserDetails") {
    line = {{"entryPoint", "reportPublicKeyCredentialUpdateForRelyingParty:userHandle:newName:"},
            {"userHandle", details.value("userId", Json())},
            {"newName", details.value("name", Json())}};
  } else {
    throw InvalidLine("method is " + quotedText(request.method) +
                      "; it must be one of the signal methods of PublicKeyCredential.");
  }
  line["relyingParty"] = details.value("rpId", Json());
  return line;
}

Json configurationLine() { return {{"entryPoint", "prepareInterfaceForExtensionConfiguration"}}; }

std::optional<std::string> flawForPlatform(const BrowserRequest& request) {
  const auto selection = request.kind == Kind::create
                             ? detailsOf(request).object("authenticatorSelection")
                             : std::nullopt;
  return selection && selection->string("authenticatorAttachment") == "cross-platform"
             ? std::optional("The page wants a passkey that is kept on another device.")
             : std::nullopt;
}

AllowedCredentials allowedCredentials(const BrowserRequest& request) {
  const JsonFields details = detailsOf(request);
  return {.relyingParty = required(details, "rpId"),
          .credentialIDs = identifiersIn(details, "allowCredentials")};
}

}  // namespace korvan::lab
