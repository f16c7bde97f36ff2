#pragma once

#include <memory>
#include <utility>

#include "platform/CredentialRequest.h"
#include "platform/Error.h"

namespace korvan {

/// The request as a passkey request, or null when it is of another kind or null itself.
[[nodiscard]] inline std::shared_ptr<const PasskeyCredentialRequest> passkeyRequest(
    std::shared_ptr<const CredentialRequest> request) {
  const PasskeyCredentialRequest* const passkey = request ? request->passkeyRequest() : nullptr;
  return passkey != nullptr
             ? std::shared_ptr<const PasskeyCredentialRequest>(std::move(request), passkey)
             : nullptr;
}

/// The error for a request that an entry point does not serve; it carries nothing but the code.
[[nodiscard]] inline Error rejection(ExtensionErrorCode code) {
  return {.domain = ErrorDomain::extension,
          .code = static_cast<std::int64_t>(code),
          .userInfo = std::nullopt};
}

}  // namespace korvan
