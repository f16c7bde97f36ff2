#pragma once

#include <string>
#include <string_view>

#include "lab/site/Finding.h"

namespace korvan::lab {

/// What a browser must have stated of a ceremony.
/// https://www.w3.org/TR/webauthn-3/#dictionary-client-data
struct ClientDataTerms {
  std::string type;       ///< "webauthn.create" or "webauthn.get"
  std::string challenge;  ///< base64url
  std::string origin;
  /// The page is in a frame of another origin's.
  bool crossOrigin = false;
};

/// Judges client data as JSON, which may be anything: one finding for each of its members. They are
/// about Finding::Subject::echoes.
[[nodiscard]] FindingList judgeClientData(std::string_view clientDataJSON,
                                          const ClientDataTerms& terms);

}  // namespace korvan::lab
