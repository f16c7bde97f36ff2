#pragma once

#include "platform/CredentialRequest.h"

namespace korvan::lab {

/// ASPasswordCredentialRequest. The operating system may pass such a request too; a provider of
/// passkeys does not read it.
class PasswordCredentialRequest final : public CredentialRequest {};

}  // namespace korvan::lab
