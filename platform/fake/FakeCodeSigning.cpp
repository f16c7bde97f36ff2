#include "platform/fake/FakeCodeSigning.h"

#include <algorithm>

namespace korvan {
namespace {

/// Counts itself for as long as it lives.
template <typename Base>
class Counted : public Base {
 public:
  explicit Counted(int& live) : live_(live) { ++live_; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
  ~Counted() override { --live_; }

 private:
  int& live_;
};

}  // namespace

OSStatus FakeCodeSigning::copyGuest(std::int32_t processIdentifier,
                                    std::unique_ptr<Code>& code) const {
  copiedProcesses.push_back(processIdentifier);
  if (givesCode) {
    code = std::make_unique<Counted<Code>>(liveCodes);
  }
  return copyStatus;
}

OSStatus FakeCodeSigning::createRequirement(std::string_view text,
                                            std::unique_ptr<Requirement>& requirement) const {
  requirementTexts.emplace_back(text);
  if (givesRequirement) {
    requirement = std::make_unique<Counted<Requirement>>(liveRequirements);
    mostLiveRequirements = std::max(mostLiveRequirements, liveRequirements);
  }
  return createStatus;
}

OSStatus FakeCodeSigning::checkValidity(const Code& /*code*/,
                                        const Requirement& /*requirement*/) const {
  ++checks;
  if (onCheck) {
    onCheck();
  }
  if (checkStatuses.empty()) {
    return 0;
  }
  const OSStatus status = checkStatuses.front();
  checkStatuses.erase(checkStatuses.begin());
  return status;
}

std::optional<std::string> FakeCodeSigning::errorMessage(OSStatus status) const {
  messagesAskedFor.push_back(status);
  return message;
}

}  // namespace korvan
