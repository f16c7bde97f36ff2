#pragma once

#include <string>

#include "lab/check/CheckContext.h"

namespace CLI {
class App;
}  // namespace CLI

namespace korvan::lab {

/// The options of the commands that judge a host.
struct CheckedHost {
  std::string container;
  std::string trustAnchorFile;
  double timeoutSeconds = 10;

  void addTo(CLI::App& command);

  /// The settings of a run over a host that runs. The container is the user's own unless it is
  /// given; it is never made. Throws CLI::ValidationError when there is no container to look in.
  [[nodiscard]] check::CheckSettings settings() const;
};

}  // namespace korvan::lab
