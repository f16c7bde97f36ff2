#pragma once

#include <memory>
#include <utility>

#include "platform/CredentialRequest.h"
#include "platform/Error.h"

namespace korvan {

/// The request as a passkey request, or null if it is of another kind or null.
[[nodiscard]] inline std::shared_ptr<const PasskeyCredentialRequest> passkeyRequest(
    std::shared_ptr<const CredentialRequest> request) {
  const PasskeyCredentialRequest* const passkey = request ? request->passkeyRequest() : nullptr;
  return passkey != nullptr
             ? std::shared_ptr<const PasskeyCredentialRequest>(std::move(request), passkey)
             : nullptr;
}

/// The error for a request that an entry point does not serve. It has a code and no user info.
[[nodiscard]] inline Error rejection(ExtensionErrorCode code) {
  return {.domain = ErrorDomain::extension,
          .code = static_cast<std::int64_t>(code),
          .userInfo = std::nullopt};
}

}  // namespace korvan
