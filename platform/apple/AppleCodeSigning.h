#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/CodeSigning.h"

namespace korvan {

/// The Security framework, with its own statuses.
class AppleCodeSigning final : public CodeSigning {
 public:
  /// `code` stays null if the framework succeeds without an object.
  [[nodiscard]] OSStatus copyGuest(std::int32_t processIdentifier,
                                   std::unique_ptr<Code>& code) const override;

  /// `requirement` stays null if the framework succeeds without an object. A text that is not UTF-8
  /// returns errSecCSReqInvalid, like one that does not parse.
  [[nodiscard]] OSStatus createRequirement(
      std::string_view text, std::unique_ptr<Requirement>& requirement) const override;

  [[nodiscard]] OSStatus checkValidity(const Code& code,
                                       const Requirement& requirement) const override;

  /// Nullopt when the framework has no message.
  [[nodiscard]] std::optional<std::string> errorMessage(OSStatus status) const override;
};

}  // namespace korvan
