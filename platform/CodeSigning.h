#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace korvan {

/// A Security framework status; 0 is success. https://developer.apple.com/documentation/security
using OSStatus = std::int32_t;

/// errSecCSReqFailed: the code does not satisfy the requirement.
inline constexpr OSStatus CodeRequirementFailed = -67050;

/// Checks the code signatures of running processes. Thread-safe.
class CodeSigning {
 public:
  /// The code of a running process. Released with its owner.
  class Code {
   public:
    virtual ~Code() = default;
  };

  /// A compiled requirement text. Released with its owner.
  class Requirement {
   public:
    virtual ~Requirement() = default;
  };

  virtual ~CodeSigning() = default;

  /// SecCodeCopyGuestWithAttributes for the process. Sets `code` and returns 0, or returns the
  /// status of the failure.
  [[nodiscard]] virtual OSStatus copyGuest(std::int32_t processIdentifier,
                                           std::unique_ptr<Code>& code) const = 0;

  /// SecRequirementCreateWithString. Sets `requirement` and returns 0, or returns the status of the
  /// failure.
  [[nodiscard]] virtual OSStatus createRequirement(
      std::string_view text, std::unique_ptr<Requirement>& requirement) const = 0;

  /// SecCodeCheckValidity: 0 when the code's signature is valid now and satisfies the requirement.
  /// Both objects were made by this instance.
  [[nodiscard]] virtual OSStatus checkValidity(const Code& code,
                                               const Requirement& requirement) const = 0;

  /// SecCopyErrorMessageString: the system's text for a status, or nullopt.
  [[nodiscard]] virtual std::optional<std::string> errorMessage(OSStatus status) const = 0;
};

}  // namespace korvan
