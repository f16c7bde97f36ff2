#include <array>
#include <string>
#include <tuple>
#include <utility>

#include "lab/check/Catalog.h"
#include "lab/check/CheckContext.h"
#include "lab/check/Judgment.h"
#include "lab/check/Requests.h"

namespace korvan::lab::check {
namespace {

namespace key = provider_message_key;

Exchange trySignIn(CheckContext& context, const CheckPasskey& passkey) {
  return askToSign(context, assertionRequest(passkey.relyingParty, passkey.credentialID, false));
}

/// Whether the passkey signed, and not another in its place.
bool isSignedWith(const CheckPasskey& passkey, const Exchange& exchange) {
  return isOk(exchange.answer) &&
         dataForKey(exchange.answer, key::credentialID) == passkey.credentialID;
}

/// Ends the check unless the passkey signs in after the report.
Exchange requireSignsIn(CheckContext& context, const CheckPasskey& passkey,
                        const ProviderMessage& report, const std::string& hint) {
  Exchange exchange = trySignIn(context, passkey);
  if (!isOk(exchange.answer)) {
    throw CheckEnd(failed({.sent = context.described(report),
                           .got = context.described(exchange.answer),
                           .wanted = "an assertion of " + passkey.userName + " at " +
                                     passkey.relyingParty + ", as before",
                           .hint = hint}));
  }
  return exchange;
}

/// Ends the check when a locked vault cannot heed the report.
Exchange sendReport(CheckContext& context, const ProviderMessage& report) {
  Exchange exchange{.request = report, .answer = context.exchange(report)};
  if (needsUser(exchange.answer)) {
    throw CheckEnd(skipped("a report was answered with " + context.described(exchange.answer) +
                           ": if the vault is locked, unlock it and check again"));
  }
  return exchange;
}

/// Passes when the host accepted a report about a passkey that it has. The extension does not read
/// the answer, so nobody is harmed otherwise.
Result resultOfReport(const CheckContext& context, const Exchange& report) {
  if (isOk(report.answer)) {
    return passed();
  }
  return warned({.sent = context.described(report.request),
                 .got = context.described(report.answer),
                 .wanted = "ok true",
                 .hint = *stringForKey(report.request, key::type) +
                         " is refused, about a passkey that the host has"});
}

/// Passkeys that no report is about. Ends the check when one does not sign in already before.
std::array<const CheckPasskey*, 2> bystanders(CheckContext& context) {
  const std::array both = {&context.passkeys().first(), &context.passkeys().other()};
  for (const CheckPasskey* passkey : both) {
    if (!isOk(trySignIn(context, *passkey).answer)) {
      throw CheckEnd(skipped("a passkey that no report was about does not sign in any more"));
    }
  }
  return both;
}

/// Ends the check if the passkey still signs in after the report.
void requireGone(CheckContext& context, const CheckPasskey& passkey,
                 const ProviderMessage& report) {
  const Exchange exchange = trySignIn(context, passkey);
  if (isSignedWith(passkey, exchange)) {
    throw CheckEnd(failed({.sent = context.described(report),
                           .got = context.described(exchange.answer),
                           .wanted = "a refusal with credentialNotFound",
                           .hint = "the passkey still signs in: " +
                                   *stringForKey(report, key::type) + " is ignored"}));
  }
}

/// Ends the check unless the person finds the passkey under the name.
void requireShown(CheckContext& context, const CheckPasskey& passkey, const std::string& name,
                  const ProviderMessage& report, const std::string& hint) {
  ProviderMessage request = assertionRequest(passkey.relyingParty, Data(), true);
  request[key::allowedCredentials] = arrayOf({passkey.credentialID});
  const Exchange exchange = askUserToSign(context, request,
                                          "Now: choose in your host the passkey of " + name +
                                              ", or cancel if it shows none of that name.");
  if (!isOk(exchange.answer)) {
    throw CheckEnd(failed({.sent = context.described(report),
                           .got = context.described(exchange.answer),
                           .wanted = "a passkey of " + name + " to choose",
                           .hint = hint}));
  }
}

Result reportUserName(CheckContext& context) {
  const CheckPasskey& renamed = context.passkeys().make(RelyingParty, "erin");
  const CheckPasskey& first = context.passkeys().first();
  const auto report = userNameReport(renamed.relyingParty, renamed.userHandle, "fiona");
  const Exchange before = trySignIn(context, renamed);
  std::ignore = sendReport(context, userNameReport(OtherRelyingParty, first.userHandle, "mallory"));
  const Exchange exchange = sendReport(context, report);
  const Exchange after =
      requireSignsIn(context, renamed, report, "updateUserName has removed the passkey");
  if (dataForKey(after.answer, key::userHandle) != dataForKey(before.answer, key::userHandle)) {
    return failed({.sent = context.described(report),
                   .got = context.described(after.answer),
                   .wanted = "the user handle that was registered",
                   .hint = "updateUserName has changed the user handle too"});
  }
  requireShown(context, renamed, "fiona", report, "updateUserName is ignored");
  requireShown(context, first, first.userName, report,
               "another user's name was changed too, or that of the same user handle at another "
               "relying party");
  return resultOfReport(context, exchange);
}

Result reportUnknown(CheckContext& context) {
  const auto others = bystanders(context);
  const CheckPasskey& unknown = context.passkeys().make(RelyingParty, "grace");
  const auto report = unknownCredentialReport(unknown.relyingParty, unknown.credentialID);
  const Exchange exchange = sendReport(context, report);
  requireGone(context, unknown, report);
  for (const CheckPasskey* other : others) {
    std::ignore = requireSignsIn(context, *other, report, "another passkey was removed too");
  }
  return resultOfReport(context, exchange);
}

Result reportAccepted(CheckContext& context) {
  const auto others = bystanders(context);
  const CheckPasskey& passkey = context.passkeys().make(RelyingParty, "heidi");
  const auto listing = [&](const std::vector<Data>& accepted) {
    return sendReport(
        context, acceptedCredentialsReport(passkey.relyingParty, passkey.userHandle, accepted));
  };
  const Data unknown = newIdentifier();
  const Exchange accepting =
      listing({unknown, unknown, passkey.credentialID, passkey.credentialID});
  std::ignore =
      requireSignsIn(context, passkey, accepting.request, "a passkey was removed that is accepted");
  const Exchange leavingOut = listing({});
  requireGone(context, passkey, leavingOut.request);
  const CheckPasskey& newer = context.passkeys().makeAgain(passkey);
  requireGone(context, newer, listing({unknown}).request);
  for (const CheckPasskey* other : others) {
    std::ignore = requireSignsIn(context, *other, leavingOut.request,
                                 "another user's passkey was removed: the list is of one user");
  }
  // A host that has only hidden it may let it sign again.
  std::ignore = listing({passkey.credentialID});
  return resultOfReport(context, leavingOut);
}

Result reportStranger(CheckContext& context) {
  const auto others = bystanders(context);
  const CheckPasskey& first = *others.front();
  const Data stranger = newIdentifier();
  using Row = std::pair<ProviderMessage, const char*>;
  for (const auto& [report, hint] :
       {Row{unknownCredentialReport(StrangeRelyingParty, first.credentialID),
            "a report removed another relying party's passkey"},
        Row{acceptedCredentialsReport(StrangeRelyingParty, first.userHandle, {}),
            "a report removed another relying party's passkey"},
        Row{acceptedCredentialsReport(RelyingParty, stranger, {}),
            "a report of an unknown user removed another user's passkey"},
        Row{userNameReport(RelyingParty, stranger, "mallory"),
            "a report of an unknown user changed another user's passkey"}}) {
    std::ignore = context.exchange(report);
    for (const CheckPasskey* other : others) {
      std::ignore = requireSignsIn(context, *other, report, hint);
    }
  }
  const auto ofOther =
      acceptedCredentialsReport(OtherRelyingParty, first.userHandle, {others.back()->credentialID});
  std::ignore = context.exchange(ofOther);
  std::ignore =
      requireSignsIn(context, first, ofOther,
                     "a report removed the passkey of the same user handle at another relying "
                     "party");
  return passed();
}

}  // namespace

std::vector<Check> reportChecks() {
  return {
      {.name = "report.userName",
       .passes = "after updateUserName the list shows one user's passkey under its new name",
       .needs = {Need::host, Need::passkey, Need::person},
       .after = {"assertion.list"},
       .see = "reports",
       .run = reportUserName},
      {.name = "report.unknown",
       .passes = "a passkey that removeUnknownCredential names no longer signs in",
       .needs = {Need::host, Need::passkey},
       .after = {"assertion.answer"},
       .see = "reports",
       .run = reportUnknown},
      {.name = "report.accepted",
       .passes = "of a user's passkeys, only those that acceptedCredentials lists sign in",
       .needs = {Need::host, Need::passkey},
       .after = {"assertion.answer"},
       .see = "reports",
       .run = reportAccepted},
      {.name = "report.stranger",
       .passes = "a report about an unknown relying party or user changes nothing",
       .needs = {Need::host, Need::passkey},
       .after = {"assertion.answer"},
       .see = "reports",
       .run = reportStranger},
  };
}

}  // namespace korvan::lab::check
