#pragma once

#include <string>

#include "lab/site/SignIn.h"

namespace korvan::lab {

/// Reads a passkey that savePasskey() wrote. Throws CLI::ValidationError, naming `option` and the
/// file, when it cannot be read or is something else.
[[nodiscard]] EnrolledPasskey passkeyIn(const std::string& file, const std::string& option);

/// Writes what a relying party and the system know of a passkey, as JSON, over what is in the file.
/// Throws std::system_error that names the file on failure.
void savePasskey(const EnrolledPasskey& passkey, const std::string& file);

}  // namespace korvan::lab
