#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/CodeSigning.h"

namespace korvan {

/// Code signing with results that the test sets. Counts the objects that are alive.
class FakeCodeSigning : public CodeSigning {
 public:
  [[nodiscard]] OSStatus copyGuest(std::int32_t processIdentifier,
                                   std::unique_ptr<Code>& code) const override;
  [[nodiscard]] OSStatus createRequirement(
      std::string_view text, std::unique_ptr<Requirement>& requirement) const override;
  [[nodiscard]] OSStatus checkValidity(const Code& code,
                                       const Requirement& requirement) const override;
  [[nodiscard]] std::optional<std::string> errorMessage(OSStatus status) const override;

  OSStatus copyStatus = 0;
  bool givesCode = true;
  OSStatus createStatus = 0;
  bool givesRequirement = true;
  /// The statuses of the next checks; 0 after them.
  mutable std::vector<OSStatus> checkStatuses;
  /// The message for every status.
  std::optional<std::string> message = "the signature is not good";
  /// Called at the start of every check.
  std::function<void()> onCheck;

  mutable std::vector<std::int32_t> copiedProcesses;
  mutable std::vector<std::string> requirementTexts;
  mutable std::size_t checks = 0;
  mutable std::vector<OSStatus> messagesAskedFor;
  mutable int liveCodes = 0;
  mutable int liveRequirements = 0;
  /// The greatest number of requirements alive at once.
  mutable int mostLiveRequirements = 0;
};

}  // namespace korvan
