#pragma once

#include <utility>

#include "lab/support/Bytes_testing.h"
#include "platform/PropertyList.h"

namespace korvan::lab::host {

/// The request of a sign-in at example.com with any passkey, and with `fields` instead of its own.
[[nodiscard]] inline PropertyListDictionary assertionRequest(PropertyListDictionary fields) {
  fields.merge(PropertyListDictionary{{"type", "assertion"},
                                      {"recordIdentifier", ""},
                                      {"relyingPartyIdentifier", "example.com"},
                                      {"credentialID", Data()},
                                      {"allowedCredentials", PropertyListValue::Array{}},
                                      {"clientDataHash", testBytes(32, 'h')},
                                      {"userVerificationPreference", "preferred"},
                                      {"allowsUserInteraction", false}});
  return fields;
}

}  // namespace korvan::lab::host
