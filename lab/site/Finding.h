#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace korvan::lab {

/// One thing that a relying party, or the system, wants of an answer, and whether it is so.
struct Finding {
  enum class Verdict : std::uint8_t {
    holds,
    /// Not wrong, but seldom meant.
    warns,
    fails,
    /// Something that it needs is not known, or was not answered.
    notChecked,
  };

  /// What the finding is about, for those who look for one of them.
  enum class Subject : std::uint8_t {
    ok,                  ///< `ok` is a boolean
    kinds,               ///< every key is there, and its value is of its kind
    echoes,              ///< the relying party and the hash of the client data are the request's
    relyingParty,        ///< the passkey belongs to the relying party
    credential,          ///< the passkey is the one that was asked for
    allowed,             ///< the passkey is among the allowed ones
    excluded,            ///< the passkey is not among the excluded ones
    userHandle,          ///< the user handle is the registered one
    attestation,         ///< the attestation object, with its credential and its key
    algorithm,           ///< the key's algorithm is among those asked for
    authenticatorData,   ///< its size, and the relying party that it names
    flags,               ///< the user's presence, backup and reserved bits
    verification,        ///< the user's verification
    counter,             ///< the sign count
    signature,           ///< the signature
    refusalCode,         ///< `errorCode`
    refusalDescription,  ///< `errorDescription`
    refusalNotice,       ///< `showUnavailableUI`
  };

  Verdict verdict = Verdict::fails;
  Subject subject = Subject::kinds;
  /// The finding in words.
  std::string words;
  // Of failures and warnings, safe to print on a terminal: what was wanted and got, and which
  // mistake leads to that, if it is known.
  // NOLINTBEGIN(readability-redundant-member-init): g++ warns where it is left out otherwise
  std::string wanted = {};
  std::string got = {};
  std::string hint = {};
  // NOLINTEND(readability-redundant-member-init)
};

using FindingList = std::vector<Finding>;

/// True when nothing failed and nothing was left unchecked.
[[nodiscard]] bool isVerified(const FindingList& findings);

/// The findings about one subject, in their order.
[[nodiscard]] FindingList findingsAbout(Finding::Subject subject, const FindingList& findings);

// The ways to make one.

[[nodiscard]] inline Finding holding(Finding::Subject subject, std::string words) {
  return {.verdict = Finding::Verdict::holds, .subject = subject, .words = std::move(words)};
}

[[nodiscard]] inline Finding notChecked(Finding::Subject subject, std::string words) {
  return {.verdict = Finding::Verdict::notChecked, .subject = subject, .words = std::move(words)};
}

/// What was wanted and got, and the mistake that leads to it, if it is known.
struct Flaw {
  // NOLINTBEGIN(readability-redundant-member-init): g++ warns where it is left out otherwise
  std::string wanted = {};
  std::string got = {};
  std::string hint = {};
  // NOLINTEND(readability-redundant-member-init)
};

[[nodiscard]] inline Finding failing(Finding::Subject subject, std::string words, Flaw flaw) {
  return {.verdict = Finding::Verdict::fails,
          .subject = subject,
          .words = std::move(words),
          .wanted = std::move(flaw.wanted),
          .got = std::move(flaw.got),
          .hint = std::move(flaw.hint)};
}

[[nodiscard]] inline Finding warning(Finding::Subject subject, std::string words, Flaw flaw) {
  Finding finding = failing(subject, std::move(words), std::move(flaw));
  finding.verdict = Finding::Verdict::warns;
  return finding;
}

}  // namespace korvan::lab
