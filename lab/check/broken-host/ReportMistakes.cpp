#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "channel/ProviderMessage.h"
#include "lab/check/broken-host/Alterations.h"
#include "lab/check/broken-host/Mistake.h"

namespace korvan::lab::broken {
namespace {

using Passkeys = std::vector<host::Passkey>;

bool isOf(const Message& request, std::string_view type) {
  return stringForKey(request, "type") == type;
}

/// Leaves the reports of a type without effect.
auto ignoring(std::string_view type) {
  return [type](Message& request) {
    if (isOf(request, type)) {
      request["type"] = "synchronize";
    }
  };
}

/// The passkeys of the relying party that do not satisfy `stays` go after a report of the type.
auto removingAfter(std::string_view type,
                   bool (*stays)(const host::Passkey& passkey, const Message& request)) {
  return [type, stays](const Message& request, Passkeys& passkeys) {
    if (isOf(request, type)) {
      std::erase_if(passkeys, [&](const host::Passkey& each) {
        return each.relyingPartyIdentifier == stringForKey(request, "relyingPartyIdentifier") &&
               !stays(each, request);
      });
    }
  };
}

bool repeatsItself(const Message& request) {
  const auto all = identifiersIn(request, "acceptedCredentialIDs");
  return std::ranges::any_of(all,
                             [&](const Data& each) { return std::ranges::count(all, each) > 1; });
}

/// The user handle in the last report of a name.
std::optional<Data>& renamedUser() {
  static std::optional<Data> user;
  return user;
}

/// The user handle in the last report of a name at the second relying party.
std::optional<Data>& userRenamedElsewhere() {
  static std::optional<Data> user;
  return user;
}

std::vector<Data>& knownPasskeys() {
  static std::vector<Data> identifiers;
  return identifiers;
}

void ignoreUnlessOneIsKnown(Message& request) {
  if (isOf(request, "acceptedCredentials")) {
    const auto accepted = identifiersIn(request, "acceptedCredentialIDs");
    const bool knowsOne = std::ranges::any_of(
        accepted, [](const Data& each) { return contains(knownPasskeys(), each); });
    if (!accepted.empty() && !knowsOne) {
      request["type"] = "synchronize";
    }
  }
}

/// Plays a person who does not find the passkeys that `isMisnamed` picks under their right names.
auto cancelingFor(bool (*isMisnamed)(const Data& userHandle)) {
  return [isMisnamed](const Message& request, Message& answer) {
    if (isOf(request, "updateUserName")) {
      renamedUser() = dataForKey(request, "userHandle");
      if (stringForKey(request, "relyingPartyIdentifier") == "other.check-host.invalid") {
        userRenamedElsewhere() = renamedUser();
      }
    }
    if (isOf(request, "interactiveAssertion") && dataForKey(answer, "userHandle") &&
        renamedUser() && isMisnamed(*dataForKey(answer, "userHandle"))) {
      answer = failureResponse("userCanceled", "There is no such user.");
    }
  };
}

}  // namespace

std::vector<Mistake> reportMistakes() {
  return {
      {.name = "ignores-new-user-names",
       .fails = {"report.userName"},
       .hint = "updateUserName is ignored",
       .request = ignoring("updateUserName"),
       .answer = cancelingFor([](const Data& userHandle) { return userHandle == renamedUser(); })},
      {.name = "renames-every-user",
       .fails = {"report.userName"},
       .hint = "another user's name was changed too",
       .answer = cancelingFor([](const Data& userHandle) { return userHandle != renamedUser(); })},
      {.name = "takes-the-user-name-for-the-handle",
       .fails = {"report.userName"},
       .hint = "updateUserName has changed the user handle too",
       .keep =
           [](const auto& request, auto& passkeys) {
             for (host::Passkey& each : passkeys) {
               if (isOf(request, "updateUserName") &&
                   each.userHandle == dataForKey(request, "userHandle")) {
                 const std::string name = *stringForKey(request, "userName");
                 each.userHandle = Data(Bytes(name.begin(), name.end()));
               }
             }
           }},
      {.name = "removes-renamed-passkeys",
       .fails = {"report.userName"},
       .hint = "updateUserName has removed the passkey",
       .keep = removingAfter("updateUserName",
                             [](const auto& passkey, const auto& request) {
                               return passkey.userHandle != dataForKey(request, "userHandle");
                             })},
      {.name = "refuses-reports-that-it-heeds",
       .fails = {},
       .hint = "updateUserName is refused, about a passkey that the host has",
       .warns = {"report.userName", "report.unknown", "report.accepted"},
       .answer = refusing(isReport, "failed")},
      {.name = "ignores-unknown-credentials",
       .fails = {"report.unknown"},
       .hint = "the passkey still signs in: removeUnknownCredential is ignored",
       .request = ignoring("removeUnknownCredential")},
      {.name = "removes-all-for-one-unknown-credential",
       .fails = {"report.unknown"},
       .hint = "another passkey was removed too",
       .keep =
           removingAfter("removeUnknownCredential",
                         [](const auto& /*passkey*/, const auto& /*request*/) { return false; })},
      {.name = "ignores-accepted-credentials",
       .fails = {"report.accepted"},
       .hint = "the passkey still signs in: acceptedCredentials is ignored",
       .request = ignoring("acceptedCredentials")},
      {.name = "ignores-unknown-accepted-credentials",
       .fails = {"report.accepted"},
       .hint = "the passkey still signs in: acceptedCredentials is ignored",
       .options = {"--only", "report.*"},
       .request = inRequests(isReport, ignoreUnlessOneIsKnown),
       .keep =
           [](const auto& /*request*/, const auto& passkeys) {
             knownPasskeys().clear();
             std::ranges::transform(passkeys, std::back_inserter(knownPasskeys()),
                                    &host::Passkey::credentialID);
           }},
      {.name = "removes-accepted-credentials",
       .fails = {"report.accepted"},
       .hint = "a passkey was removed that is accepted",
       .keep = removingAfter("acceptedCredentials",
                             [](const auto& passkey, const auto& request) {
                               return !contains(identifiersIn(request, "acceptedCredentialIDs"),
                                                passkey.credentialID);
                             })},
      {.name = "accepts-none-where-some-are-repeated",
       .fails = {"report.accepted"},
       .hint = "a passkey was removed that is accepted",
       .request = inRequests(isReport,
                             [](Message& request) {
                               if (isOf(request, "acceptedCredentials") && repeatsItself(request)) {
                                 request["acceptedCredentialIDs"] = PropertyListValue::Array{};
                               }
                             })},
      {.name = "takes-the-accepted-for-everybodys",
       .fails = {"report.accepted"},
       .hint = "another user's passkey was removed: the list is of one user",
       .keep = removingAfter("acceptedCredentials",
                             [](const auto& passkey, const auto& request) {
                               return contains(identifiersIn(request, "acceptedCredentialIDs"),
                                               passkey.credentialID);
                             })},
      {.name = "ignores-the-relying-party-of-reports",
       .fails = {"report.stranger"},
       .hint = "a report removed another relying party's passkey",
       .request = inRequests(
           isReport,
           [](Message& request) { request["relyingPartyIdentifier"] = "check-host.invalid"; })},
      {.name = "takes-a-report-for-all-sites",
       .fails = {"report.stranger"},
       .hint = "a report removed the passkey of the same user handle at another relying party",
       .options = {"--only", "report.*"},
       .keep =
           [](const auto& request, auto& passkeys) {
             const auto relyingParty = stringForKey(request, "relyingPartyIdentifier");
             if (isOf(request, "acceptedCredentials") &&
                 std::ranges::any_of(passkeys, [&](const host::Passkey& each) {
                   return each.relyingPartyIdentifier == relyingParty;
                 })) {
               std::erase_if(passkeys, [&](const host::Passkey& each) {
                 return each.userHandle == dataForKey(request, "userHandle") &&
                        !contains(identifiersIn(request, "acceptedCredentialIDs"),
                                  each.credentialID);
               });
             }
           }},
      {.name = "renames-users-at-every-site",
       .fails = {"report.userName"},
       .hint = "or that of the same user handle at another relying party",
       .options = {"--only", "report.*"},
       .answer = cancelingFor(
           [](const Data& userHandle) { return userHandle == userRenamedElsewhere(); })},
      {.name = "removes-all-for-an-unknown-user",
       .fails = {"report.stranger"},
       .hint = "a report of an unknown user removed another user's passkey",
       .keep =
           [](const auto& request, auto& passkeys) {
             static std::vector<Data> users;
             const Data user = dataForKey(request, "userHandle").value_or(Data());
             if (isOf(request, "registration")) {
               users.push_back(user);
             } else if (isOf(request, "acceptedCredentials") && !contains(users, user)) {
               passkeys.clear();
             }
           }},
      {.name = "leaves-reports-unanswered",
       .fails = {"report.userName", "report.unknown", "report.accepted", "report.stranger"},
       .hint = "the host closed the connection before it had answered",
       .serve = closing(isReport)},
  };
}

}  // namespace korvan::lab::broken
