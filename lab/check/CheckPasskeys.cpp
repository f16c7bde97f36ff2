#include "lab/check/CheckPasskeys.h"

#include <functional>
#include <tuple>
#include <utility>

#include "lab/check/Check.h"
#include "lab/check/CheckContext.h"
#include "lab/check/Requests.h"
#include "lab/support/RandomData.h"

namespace korvan::lab::check {
namespace {

Data newUserHandle() {
  constexpr std::size_t Size = 16;
  return randomData(Size);
}

/// The passkey that `ask` gives. Throws a CheckEnd "skipped" if it gives none.
const CheckPasskey& made(const std::function<const CheckPasskey&()>& ask,
                         const CheckContext& context) {
  const auto skip = [](const std::string& why) {
    throw CheckEnd(skipped("no passkey could be made: " + why));
  };
  const CheckPasskey* passkey = nullptr;
  try {
    passkey = &ask();
  } catch (const CheckEnd& end) {
    const Result& result = end.result();
    if (result.outcome == Outcome::skipped || !result.because.empty()) {
      throw;
    }
    skip(result.findings.got);
  }
  if (passkey->credentialID.empty()) {
    skip("the answer was " + context.described(passkey->answer));
  }
  return *passkey;
}

}  // namespace

const CheckPasskey& CheckPasskeys::firstRegistration() {
  if (unanswered_) {
    throw CheckEnd(*unanswered_);
  }
  if (first_ == nullptr) {
    try {
      first_ = &ask(RelyingParty, "alice", newUserHandle());
    } catch (const CheckEnd& end) {
      unanswered_ = end;
      throw;
    }
  }
  return *first_;
}

const CheckPasskey& CheckPasskeys::first() {
  return made([this]() -> const CheckPasskey& { return firstRegistration(); }, context_);
}

const CheckPasskey& CheckPasskeys::second() {
  if (second_ == nullptr) {
    second_ = &make(RelyingParty, "bob");
  }
  return *second_;
}

const CheckPasskey& CheckPasskeys::other() {
  if (other_ == nullptr) {
    // Of the same user, whom a host must not take for the one at the first relying party.
    const Data userHandle = first().userHandle;
    other_ =
        &made([&]() -> const CheckPasskey& { return ask(OtherRelyingParty, "alice", userHandle); },
              context_);
  }
  return *other_;
}

const CheckPasskey& CheckPasskeys::make(std::string_view relyingParty, std::string_view userName) {
  return made([&]() -> const CheckPasskey& { return ask(relyingParty, userName, newUserHandle()); },
              context_);
}

const CheckPasskey& CheckPasskeys::makeAgain(const CheckPasskey& older) {
  return made(
      [&]() -> const CheckPasskey& {
        return ask(older.relyingParty, older.userName, older.userHandle);
      },
      context_);
}

const CheckPasskey& CheckPasskeys::ask(std::string_view relyingParty, std::string_view userName,
                                       const Data& userHandle) {
  CheckPasskey passkey{.request = registrationRequest(relyingParty, userName, userHandle,
                                                      context_.settings().attended),
                       .answer = {},
                       .relyingParty = std::string(relyingParty),
                       .userName = std::string(userName),
                       .userHandle = userHandle,
                       .credentialID = {}};
  context_.tellPerson("Now: agree in your host to a passkey for " + passkey.relyingParty + ".");
  passkey.answer = context_.exchange(passkey.request);
  if (booleanForKey(passkey.answer, provider_message_key::ok)) {
    passkey.credentialID =
        dataForKey(passkey.answer, provider_message_key::credentialID).value_or(Data());
  }
  remember(passkey.request, passkey.answer);
  return passkeys_.emplace_back(std::move(passkey));
}

void CheckPasskeys::remember(const ProviderMessage& request, const ProviderMessage& answer) {
  namespace key = provider_message_key;
  if (booleanForKey(answer, key::ok)) {
    made_.push_back({.relyingParty = *stringForKey(request, key::relyingPartyIdentifier),
                     .userHandle = *dataForKey(request, key::userHandle),
                     .credentialID = dataForKey(answer, key::credentialID).value_or(Data())});
  }
}

void CheckPasskeys::removeAll() {
  try {
    for (const Made& made : made_) {
      context_.waits().restart();
      std::ignore =
          context_.exchange(unknownCredentialReport(made.relyingParty, made.credentialID));
      std::ignore =
          context_.exchange(acceptedCredentialsReport(made.relyingParty, made.userHandle, {}));
    }
  } catch (const CheckEnd&) {  // NOLINT(bugprone-empty-catch)
    // A host that does not answer has been told already what is wrong with it.
  }
  made_.clear();
  forget();
}

void CheckPasskeys::forget() {
  first_ = second_ = other_ = nullptr;
  unanswered_.reset();
  passkeys_.clear();
}

}  // namespace korvan::lab::check
