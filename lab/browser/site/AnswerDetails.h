#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Data.h"

namespace korvan::lab {

/// A credential as a page hands it to its relying party.
/// https://www.w3.org/TR/webauthn-3/#iface-pkcredential
struct WebCredential {
  Data credentialID;
  std::string clientDataJSON;
  // Of a registration.
  std::optional<Data> attestationObject;
  // Of a sign-in.
  std::optional<Data> authenticatorData;
  std::optional<Data> signature;
  std::optional<Data> userHandle;
};

/// What a part of a credential is called, and its value in words. Anything may be in them but
/// invalid UTF-8.
using AnswerDetail = std::pair<std::string, std::string>;

/// A credential decoded, in the order in which one reads it.
[[nodiscard]] std::vector<AnswerDetail> detailsOf(const WebCredential& credential);

}  // namespace korvan::lab
