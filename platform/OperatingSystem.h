#pragma once

#include <compare>
#include <string>

namespace korvan {

/// A macOS version.
struct OperatingSystemVersion {
  int major = 0;
  int minor = 0;
  int patch = 0;
  friend auto operator<=>(const OperatingSystemVersion&, const OperatingSystemVersion&) = default;
};

/// The operating system that the extension runs on. Main thread.
class OperatingSystem {
 public:
  virtual ~OperatingSystem() = default;

  /// Callers do not cache the answer.
  [[nodiscard]] virtual bool isAtLeast(OperatingSystemVersion version) const = 0;

  /// The system's string for the preferred level of user verification, WebAuthn's "preferred".
  /// https://www.w3.org/TR/webauthn-3/#enumdef-userverificationrequirement
  [[nodiscard]] virtual std::string preferredUserVerification() const = 0;
};

}  // namespace korvan
