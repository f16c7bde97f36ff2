#pragma once

#include "platform/CredentialRequest.h"

namespace korvan::lab {

/// ASPasswordCredentialRequest: the operating system hands over such a request too; a provider of
/// passkeys reads nothing of it.
class PasswordCredentialRequest final : public CredentialRequest {};

}  // namespace korvan::lab
