#include "channel/PeerVerification.h"

#include <cerrno>
#include <memory>
#include <string>

#include "channel/ChannelError.h"

namespace korvan {
namespace {

/// The peer's process id, or nullopt when it is unknown or the peer belongs to another user.
std::optional<std::int32_t> processIdentifierOfSameUser(const LocalSockets& sockets,
                                                        int descriptor) {
  // No user, group or process has the identifier -1. Nobody reads the group; the call writes both.
  std::int64_t userIdentifier = -1;
  std::int64_t groupIdentifier = -1;
  std::int32_t processIdentifier = -1;
  if (sockets.getpeereid(descriptor, userIdentifier, groupIdentifier) != 0 ||
      sockets.getPeerProcessIdentifier(descriptor, processIdentifier) != 0 ||
      userIdentifier != sockets.getuid() || processIdentifier < 1) {
    return std::nullopt;
  }
  return processIdentifier;
}

std::string requirementText(std::string_view identifier) {
  // Both identifiers are fixed at build time and hold nothing that would need quoting.
  std::string text = R"(anchor apple generic and certificate leaf[subject.OU] = ")";
  text.append(HostTeamIdentifier).append(R"(" and identifier ")").append(identifier).append("\"");
  return text;
}

struct IdentifierCheck {
  bool matched = false;
  /// Why it did not match. 0 when the platform reported success but made no requirement.
  OSStatus status = 0;
};

/// Whether the code's signature is valid and has the identifier.
IdentifierCheck checkIdentifier(const CodeSigning& codeSigning, const CodeSigning::Code& code,
                                std::string_view identifier) {
  std::unique_ptr<CodeSigning::Requirement> requirement;
  const OSStatus created = codeSigning.createRequirement(requirementText(identifier), requirement);
  if (created != 0 || !requirement) {
    return {.matched = false, .status = created};
  }
  const OSStatus checked = codeSigning.checkValidity(code, *requirement);
  return {.matched = checked == 0, .status = checked};
}

}  // namespace

PeerVerdict verifyPeer(const LocalSockets& sockets, const CodeSigning& codeSigning, int descriptor,
                       std::span<const std::string_view> acceptedHostIdentifiers) {
  const auto processIdentifier = processIdentifierOfSameUser(sockets, descriptor);
  if (!processIdentifier) {
    return {.matchedIdentifier = std::nullopt,
            .error = posixError(EACCES,
                                "The Korvan peer process identity is unavailable or belongs to "
                                "another user.")};
  }
  std::unique_ptr<CodeSigning::Code> code;
  const OSStatus copied = codeSigning.copyGuest(*processIdentifier, code);
  if (copied != 0 || !code) {
    return {.matchedIdentifier = std::nullopt,
            .error = statusError(codeSigning, "Reading the Korvan peer code signature", copied)};
  }
  // With no identifier to accept, no requirement is met.
  OSStatus lastStatus = CodeRequirementFailed;
  for (const std::string_view identifier : acceptedHostIdentifiers) {
    const IdentifierCheck check = checkIdentifier(codeSigning, *code, identifier);
    if (check.matched) {
      return {.matchedIdentifier = identifier, .error = std::nullopt};
    }
    lastStatus = check.status;
  }
  // Released before the platform is asked for the status's text: no check needs it any longer.
  code.reset();
  return {
      .matchedIdentifier = std::nullopt,
      .error = statusError(codeSigning, "Validating the Korvan peer code signature", lastStatus)};
}

}  // namespace korvan
