#pragma once

#include <cstddef>
#include <string_view>

namespace korvan {

/// The user's running applications, and the opening of URLs.
class Workspace {
 public:
  virtual ~Workspace() = default;

  /// Asks the system to open `url`; true when it accepted. Called on the main thread.
  [[nodiscard]] virtual bool openURL(std::string_view url) const = 0;

  /// How many running applications have the bundle identifier. Called on a background thread.
  [[nodiscard]] virtual std::size_t runningApplicationCount(
      std::string_view bundleIdentifier) const = 0;
};

}  // namespace korvan
