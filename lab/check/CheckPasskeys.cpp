#include "lab/check/CheckPasskeys.h"

#include <tuple>
#include <utility>

#include "lab/check/Check.h"
#include "lab/check/CheckContext.h"
#include "lab/check/Requests.h"
#include "lab/support/RandomData.h"

namespace korvan::lab::check {
namespace {

constexpr std::size_t UserHandleSize = 16;

}  // namespace

const CheckPasskey& CheckPasskeys::first() {
  if (first_ == nullptr) {
    first_ = &make(RelyingParty, "alice");
  }
  return *first_;
}

const CheckPasskey& CheckPasskeys::second() {
  if (second_ == nullptr) {
    second_ = &make(RelyingParty, "bob");
  }
  return *second_;
}

const CheckPasskey& CheckPasskeys::other() {
  if (other_ == nullptr) {
    other_ = &make(OtherRelyingParty, "alice");
  }
  return *other_;
}

const CheckPasskey& CheckPasskeys::make(std::string_view relyingParty, std::string_view userName) {
  const Data handle = randomData(UserHandleSize);
  CheckPasskey passkey{
      .request = registrationRequest(relyingParty, userName, handle, context_.settings().attended),
      .answer = {},
      .relyingParty = std::string(relyingParty),
      .userName = std::string(userName),
      .userHandle = handle,
      .credentialID = {}};
  context_.tellPerson("Now: agree in your host to a passkey for " + passkey.relyingParty + ".");
  try {
    passkey.answer = context_.exchange(passkey.request);
  } catch (const CheckEnd& end) {
    throw CheckEnd(skipped("no passkey could be made: " + end.result().findings.got));
  }
  const auto credentialID = dataForKey(passkey.answer, provider_message_key::credentialID);
  if (!booleanForKey(passkey.answer, provider_message_key::ok) || !credentialID) {
    throw CheckEnd(
        skipped("no passkey could be made: the answer was " + context_.described(passkey.answer)));
  }
  passkey.credentialID = *credentialID;
  remember(passkey.relyingParty, passkey.credentialID);
  return passkeys_.emplace_back(std::move(passkey));
}

void CheckPasskeys::remember(std::string relyingParty, Data credentialID) {
  made_.push_back(
      {.relyingParty = std::move(relyingParty), .credentialID = std::move(credentialID)});
}

void CheckPasskeys::removeAll() {
  try {
    for (const Made& made : made_) {
      context_.waits().restart();
      std::ignore =
          context_.exchange(unknownCredentialReport(made.relyingParty, made.credentialID));
    }
  } catch (const CheckEnd&) {
    // A host that does not answer has been told already what is wrong with it.
  }
  forget();
}

void CheckPasskeys::forget() {
  first_ = second_ = other_ = nullptr;
  passkeys_.clear();
  made_.clear();
}

}  // namespace korvan::lab::check
