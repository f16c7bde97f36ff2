#include "lab/check/broken-host/Alterations.h"

#include <algorithm>
#include <tuple>

#include "channel/ProviderMessage.h"

namespace korvan::lab::broken {
namespace {

bool isOfType(const Message& request, std::string_view type) {
  return stringForKey(request, "type") == type;
}

/// Serves all requests but those of a kind, whose connection it hands to `instead`.
decltype(Mistake::serve) servingOthers(IsOfKind isOfKind, void (*instead)(int socket)) {
  return [isOfKind, instead](int socket, const Mistake& mistake, const Surroundings& surroundings) {
    const Bytes body = readFrame(socket);
    const auto request = surroundings.propertyLists.decode(Data::copyOf(body));
    if (request && request->dictionary() != nullptr && isOfKind(*request->dictionary())) {
      instead(socket);
    } else if (!body.empty()) {
      sendAll(socket, answerFrame(body, mistake, surroundings));
    }
  };
}

}  // namespace

bool isRegistration(const Message& request) { return isOfType(request, "registration"); }

bool isInteractive(const Message& request) { return isOfType(request, "interactiveAssertion"); }

bool isAssertion(const Message& request) {
  return isOfType(request, "assertion") || isInteractive(request);
}

bool isReport(const Message& request) {
  return isOfType(request, "updateUserName") || isOfType(request, "removeUnknownCredential") ||
         isOfType(request, "acceptedCredentials");
}

Message refusal(std::string_view code) { return failureResponse(code, "It does not work."); }

std::vector<Data> identifiersIn(const Message& request, std::string_view key) {
  std::vector<Data> identifiers;
  for (const PropertyListValue& each : *valueForKey(request, key)->array()) {
    identifiers.push_back(*each.data());
  }
  return identifiers;
}

void keepTwentyOf(Message& request, std::string_view key) {
  constexpr std::size_t Most = 20;
  PropertyListValue::Array all = *valueForKey(request, key)->array();
  all.resize(std::min(all.size(), Most));
  request.insert_or_assign(Text(key), std::move(all));
}

bool contains(const std::vector<Data>& all, const Data& one) {
  return std::ranges::find(all, one) != all.end();
}

decltype(Mistake::answer) refusing(IsOfKind isOfKind, std::string_view code) {
  return [isOfKind, code](const Message& request, Message& answer) {
    if (isOfKind(request)) {
      answer = refusal(code);
    }
  };
}

decltype(Mistake::request) inRequests(IsOfKind isOfKind, void (*alter)(Message& request)) {
  return [isOfKind, alter](Message& request) {
    if (isOfKind(request)) {
      alter(request);
    }
  };
}

decltype(Mistake::answer) inAnswers(IsOfKind isOfKind, void (*alter)(Message& answer)) {
  return [isOfKind, alter](const Message& request, Message& answer) {
    if (isOfKind(request) && booleanForKey(answer, "ok")) {
      alter(answer);
    }
  };
}

decltype(Mistake::statement) inStatements(IsOfKind isOfKind, void (*alter)(Bytes& statement)) {
  return [isOfKind, alter](const Message& request, Bytes& statement) {
    if (isOfKind(request)) {
      alter(statement);
    }
  };
}

decltype(Mistake::statement) withFlags(IsOfKind isOfKind, std::uint8_t flags) {
  return [isOfKind, flags](const Message& request, Bytes& statement) {
    if (isOfKind(request)) {
      statement.at(FlagsPlace) |= flags;
    }
  };
}

decltype(Mistake::statement) withoutFlags(IsOfKind isOfKind, std::uint8_t flags) {
  return [isOfKind, flags](const Message& request, Bytes& statement) {
    if (isOfKind(request)) {
      statement.at(FlagsPlace) &= static_cast<std::uint8_t>(~flags);
    }
  };
}

decltype(Mistake::serve) waitingForUser(IsOfKind isOfKind) {
  // Reading ends when the client leaves.
  return servingOthers(isOfKind, [](int socket) { std::ignore = readFrame(socket); });
}

decltype(Mistake::serve) closing(IsOfKind isOfKind) {
  return servingOthers(isOfKind, [](int /*socket*/) {});
}

}  // namespace korvan::lab::broken
