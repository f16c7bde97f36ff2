#include "lab/json/CallParser.h"

#include <algorithm>
#include <array>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "lab/json/JsonFields.h"
#include "lab/system/PasswordCredentialRequest.h"
#include "platform/CredentialRequest.h"

namespace korvan::lab {
namespace {

using Json = nlohmann::json;
using Controller = CredentialProviderViewController;
using AnyRequest = Controller::AnyRequest;

constexpr std::string_view PasskeyClass = "ASPasskeyCredentialRequest";
constexpr std::string_view PasswordClass = "ASPasswordCredentialRequest";

// Parsing.

/// The library's message without the names and positions that mean nothing to the user.
std::string reasonOf(const Json::parse_error& error) {
  const std::string_view words = error.what();
  const std::size_t start = words.find("syntax error");
  return std::string(words.substr(start == std::string_view::npos ? 0 : start));
}

/// The number that is too large, which the library's message has in quotes.
std::string numberOf(const Json::out_of_range& error) {
  const std::string_view words = error.what();
  const std::size_t quote = words.find('\'');
  return std::string(words.substr(quote + 1, words.rfind('\'') - quote - 1));
}

/// Refuses a repeated key while the library parses; the library itself would keep the last value.
class RepeatedKeys {
 public:
  bool operator()(int /*depth*/, Json::parse_event_t event, const Json& parsed) {
    if (event == Json::parse_event_t::object_start) {
      open_.emplace_back();
    } else if (event == Json::parse_event_t::object_end) {
      open_.pop_back();
    } else if (event == Json::parse_event_t::key &&
               !open_.back().insert(parsed.get<std::string>()).second) {
      throw InvalidLine("The key " + parsed.get<std::string>() +
                        " is given twice; each key of an object must be given once.");
    }
    return true;
  }

 private:
  std::vector<std::set<std::string>> open_;
};

Json parseJson(std::string_view line) {
  try {
    return Json::parse(line, RepeatedKeys());
  } catch (const Json::parse_error& error) {
    throw InvalidLine("The line is not JSON, see column " + std::to_string(error.byte) + ": " +
                      reasonOf(error) + ".");
  } catch (const Json::out_of_range& error) {
    throw InvalidLine("The line has the number " + numberOf(error) +
                      "; a number must be of at most 1.7e308.");
  }
}

// The platform's objects.

std::optional<PasskeyCredentialIdentity> readIdentity(const JsonFields& request) {
  const auto fields = request.object("credentialIdentity");
  if (!fields) {
    return std::nullopt;
  }
  fields->allowOnly(
      {"recordIdentifier", "relyingPartyIdentifier", "userName", "userHandle", "credentialID"});
  return PasskeyCredentialIdentity{
      .recordIdentifier = fields->string("recordIdentifier"),
      .relyingPartyIdentifier = fields->string("relyingPartyIdentifier"),
      .userName = fields->string("userName"),
      .userHandle = fields->bytes("userHandle"),
      .credentialID = fields->bytes("credentialID")};
}

std::optional<PasskeyCredentialRequest::Descriptors> readDescriptors(const JsonFields& request) {
  const auto list = request.objects("excludedCredentials");
  if (!list) {
    return std::nullopt;
  }
  PasskeyCredentialRequest::Descriptors descriptors;
  for (const JsonFields& fields : *list) {
    fields.allowOnly({"credentialID"});
    descriptors.push_back({.credentialID = fields.bytes("credentialID")});
  }
  return descriptors;
}

AnyRequest readRequest(const JsonFields& line) {
  const auto fields = line.object("request");
  if (!fields) {
    return nullptr;
  }
  fields->allowOnly({"class", "credentialIdentity", "clientDataHash", "userVerificationPreference",
                     "supportedAlgorithms", "excludedCredentials"});
  auto request = std::make_shared<PasskeyCredentialRequest>();
  request->credentialIdentity = readIdentity(*fields);
  request->clientDataHash = fields->bytes("clientDataHash");
  request->userVerificationPreference = fields->string("userVerificationPreference");
  request->supportedAlgorithms = fields->integers("supportedAlgorithms");
  request->excludedCredentials = [descriptors = readDescriptors(*fields)] { return descriptors; };

  const auto name = fields->string("class");
  if (name == PasskeyClass) {
    return request;
  }
  if (name == PasswordClass) {
    return std::make_shared<PasswordCredentialRequest>();
  }
  throw InvalidLine("request.class is " + (name ? "\"" + *name + "\"" : "missing") +
                    "; it must be \"ASPasskeyCredentialRequest\" or "
                    "\"ASPasswordCredentialRequest\".");
}

Controller::RequestParameters readParameters(const JsonFields& line) {
  const auto fields = line.object("requestParameters");
  if (!fields) {
    return nullptr;
  }
  fields->allowOnly({"relyingPartyIdentifier", "clientDataHash", "userVerificationPreference",
                     "allowedCredentials"});
  return std::make_shared<PasskeyCredentialRequestParameters>(PasskeyCredentialRequestParameters{
      .relyingPartyIdentifier = fields->string("relyingPartyIdentifier"),
      .clientDataHash = fields->bytes("clientDataHash"),
      .userVerificationPreference = fields->string("userVerificationPreference"),
      .allowedCredentials = fields->byteStrings("allowedCredentials")});
}

// The entry points, each with the arguments it takes.

Call readConfiguration(const JsonFields& line) {
  line.allowOnly({"entryPoint"});
  return configurationCall();
}

Call readCredentialList(const JsonFields& line) {
  line.allowOnly({"entryPoint", "serviceIdentifiers", "requestParameters"});
  return credentialListCall(line.strings("serviceIdentifiers").value_or(std::vector<std::string>()),
                            readParameters(line));
}

template <Call (*callFor)(AnyRequest)>
Call readRequestCall(const JsonFields& line) {
  line.allowOnly({"entryPoint", "request"});
  return callFor(readRequest(line));
}

Call readSilentRegistration(const JsonFields& line) {
  line.allowOnly({"entryPoint", "request"});
  // The platform declares this argument as a passkey request, so nothing else can be passed.
  return silentRegistrationCall(
      std::dynamic_pointer_cast<const PasskeyCredentialRequest>(readRequest(line)));
}

Call readUserNameReport(const JsonFields& line) {
  line.allowOnly({"entryPoint", "relyingParty", "userHandle", "newName"});
  return updatedUserNameReport(line.string("relyingParty"), line.bytes("userHandle"),
                               line.string("newName"));
}

Call readUnknownCredentialReport(const JsonFields& line) {
  line.allowOnly({"entryPoint", "relyingParty", "credentialID"});
  return unknownCredentialReport(line.string("relyingParty"), line.bytes("credentialID"));
}

Call readAcceptedCredentialsReport(const JsonFields& line) {
  line.allowOnly({"entryPoint", "relyingParty", "userHandle", "acceptedCredentialIDs"});
  return acceptedCredentialsReport(line.string("relyingParty"), line.bytes("userHandle"),
                                   line.byteStrings("acceptedCredentialIDs"));
}

struct EntryPoint {
  std::string_view selector;
  Call (*read)(const JsonFields& line);
};

constexpr std::array<EntryPoint, 9> EntryPoints{{
    {.selector = "prepareInterfaceForExtensionConfiguration", .read = readConfiguration},
    {.selector = "prepareCredentialListForServiceIdentifiers:requestParameters:",
     .read = readCredentialList},
    {.selector = "provideCredentialWithoutUserInteractionForRequest:",
     .read = readRequestCall<silentAssertionCall>},
    {.selector = "prepareInterfaceToProvideCredentialForRequest:",
     .read = readRequestCall<interactiveAssertionCall>},
    {.selector = "prepareInterfaceForPasskeyRegistration:",
     .read = readRequestCall<interactiveRegistrationCall>},
    {.selector = "performPasskeyRegistrationWithoutUserInteractionIfPossible:",
     .read = readSilentRegistration},
    {.selector = "reportPublicKeyCredentialUpdateForRelyingParty:userHandle:newName:",
     .read = readUserNameReport},
    {.selector = "reportUnknownPublicKeyCredentialForRelyingParty:credentialID:",
     .read = readUnknownCredentialReport},
    {.selector =
         "reportAllAcceptedPublicKeyCredentialsForRelyingParty:userHandle:acceptedCredentialIDs:",
     .read = readAcceptedCredentialsReport},
}};

Call readCall(const Json& tree) {
  if (!tree.is_object()) {
    throw InvalidLine(std::string("The line is JSON of the type ") + tree.type_name() +
                      "; it must be an object.");
  }
  const JsonFields line(tree, "");
  const auto selector = line.string("entryPoint");
  if (!selector) {
    throw InvalidLine("entryPoint is missing; it must be the selector of an entry point.");
  }
  const auto* const found = std::ranges::find(EntryPoints, *selector, &EntryPoint::selector);
  if (found == EntryPoints.end()) {
    throw InvalidLine("entryPoint is \"" + *selector +
                      "\"; it must be the selector of an entry point, such as "
                      "\"provideCredentialWithoutUserInteractionForRequest:\".");
  }
  return found->read(line);
}

}  // namespace

std::expected<Call, std::string> parseCall(std::string_view line) {
  try {
    return readCall(parseJson(line));
  } catch (const InvalidLine& invalid) {
    return std::unexpected(invalid.reason());
  }
}

}  // namespace korvan::lab
