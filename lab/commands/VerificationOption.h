#pragma once

#include <string>

#include "lab/site/RelyingParty.h"

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

/// The option for the level of user verification that a web site asks for.
struct VerificationOption {
  std::string level;

  void addTo(CLI::App& command);

  /// The level, or `otherwise` when none is given.
  [[nodiscard]] RelyingParty::UserVerification levelOr(
      RelyingParty::UserVerification otherwise) const;
};

}  // namespace korvan::lab
