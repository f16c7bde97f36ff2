#pragma once

#include <cstddef>
#include <string_view>

namespace korvan {

/// Opens URLs and counts the user's running applications.
class Workspace {
 public:
  virtual ~Workspace() = default;

  /// Asks the system to open `url`. True when it accepted. Main thread.
  [[nodiscard]] virtual bool openURL(std::string_view url) const = 0;

  /// How many running applications have the bundle identifier. Background thread.
  [[nodiscard]] virtual std::size_t runningApplicationCount(
      std::string_view bundleIdentifier) const = 0;
};

}  // namespace korvan
