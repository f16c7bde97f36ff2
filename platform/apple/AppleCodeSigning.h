#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/CodeSigning.h"

namespace korvan {

/// The Security framework. The statuses are its own.
class AppleCodeSigning final : public CodeSigning {
 public:
  /// A success without an object leaves `code` null.
  [[nodiscard]] OSStatus copyGuest(std::int32_t processIdentifier,
                                   std::unique_ptr<Code>& code) const override;

  /// A success without an object leaves `requirement` null. A text that is not UTF-8 is as invalid
  /// as one that does not parse (errSecCSReqInvalid).
  [[nodiscard]] OSStatus createRequirement(
      std::string_view text, std::unique_ptr<Requirement>& requirement) const override;

  [[nodiscard]] OSStatus checkValidity(const Code& code,
                                       const Requirement& requirement) const override;

  /// None where the framework has no words.
  [[nodiscard]] std::optional<std::string> errorMessage(OSStatus status) const override;
};

}  // namespace korvan
