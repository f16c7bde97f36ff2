#pragma once

#include <expected>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/CodeSigning.h"

namespace korvan {

// The part of Apple's code requirement language that names a signer: clauses that are joined by
// "and" and must all hold.
// https://developer.apple.com/library/archive/documentation/Security/Conceptual/CodeSigningGuide/RequirementLang/RequirementLang.html

/// `anchor apple generic`: the certificate chain ends in the trust anchor.
struct AnchorClause {
  friend bool operator==(const AnchorClause&, const AnchorClause&) = default;
};

/// `certificate leaf[subject.OU] = "..."`: the signer's organizational unit, which names the team.
struct LeafOrganizationalUnitClause {
  std::string value;
  friend bool operator==(const LeafOrganizationalUnitClause&,
                         const LeafOrganizationalUnitClause&) = default;
};

/// `identifier "..."`: the code's identifier.
struct IdentifierClause {
  std::string value;
  friend bool operator==(const IdentifierClause&, const IdentifierClause&) = default;
};

using CodeRequirementClause =
    std::variant<AnchorClause, LeafOrganizationalUnitClause, IdentifierClause>;

/// errSecCSReqInvalid: the text is not in the language.
inline constexpr OSStatus CodeRequirementInvalid = -67052;
/// errSecCSReqUnsupported: the text has a clause that is not one of these three.
inline constexpr OSStatus CodeRequirementUnsupported = -67051;

/// Parses a requirement text into its clauses, in order; there is at least one. On failure returns
/// one of the statuses above.
[[nodiscard]] std::expected<std::vector<CodeRequirementClause>, OSStatus> parseCodeRequirement(
    std::string_view text);

}  // namespace korvan
