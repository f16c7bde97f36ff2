#include "lab/check/UnansweredRequests.h"

#include <algorithm>
#include <array>

namespace korvan::lab::check {
namespace {

namespace key = provider_message_key;
namespace type = provider_request_type;

std::string typeOf(const ProviderMessage& request) {
  return stringForKey(request, key::type).value_or("");
}

bool requiresVerification(const ProviderMessage& request) {
  return stringForKey(request, key::userVerificationPreference) == "required";
}

/// Alike are requests of one type that may ask the user for the same.
std::string kindOf(const ProviderMessage& request) {
  if (!needsVault(request)) {
    return "unknown";
  }
  return typeOf(request) + (booleanForKey(request, key::allowsUserInteraction) ? "" : ", silent") +
         (requiresVerification(request) ? ", verified" : "");
}

}  // namespace

bool needsVault(const ProviderMessage& request) {
  constexpr std::array Types{
      type::assertion,      type::interactiveAssertion,    type::registration,
      type::updateUserName, type::removeUnknownCredential, type::acceptedCredentials};
  return std::ranges::find(Types, typeOf(request)) != Types.end();
}

std::string_view judgeOfAnswering(const ProviderMessage& request) {
  const std::string kind = typeOf(request);
  if (kind == type::assertion) {
    return requiresVerification(request) ? "assertion.verification" : "assertion.silent";
  }
  if (kind == type::interactiveAssertion) {
    return requiresVerification(request) ? "assertion.verification" : "assertion.interactive";
  }
  if (kind == type::registration) {
    return booleanForKey(request, key::allowsUserInteraction) ? "registration.answer"
                                                              : "registration.conditional";
  }
  return needsVault(request) || kind == type::synchronize ? "" : "request.unknownType";
}

void UnansweredRequests::add(const ProviderMessage& request) {
  isLeft_ = true;
  if (typeOf(request) == type::synchronize) {
    // What it was sent before made it hang, and not this request.
    hangs_ = true;
    return;
  }
  holdsVault_ = holdsVault_ || needsVault(request);
  kinds_.insert(kindOf(request));
}

bool UnansweredRequests::contains(const ProviderMessage& request) const {
  return typeOf(request) != type::synchronize && kinds_.contains(kindOf(request));
}

}  // namespace korvan::lab::check
