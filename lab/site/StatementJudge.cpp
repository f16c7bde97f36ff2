#include "lab/site/StatementJudge.h"

#include <array>
#include <bit>
#include <utility>

#include "lab/site/Cbor.h"
#include "lab/site/ValueWords.h"
#include "lab/support/AuthenticatorFlags.h"

namespace korvan::lab {
namespace {

using Subject = Finding::Subject;

constexpr std::size_t SizeInAssertion = 37;

bool has(std::uint8_t flags, std::uint8_t flag) { return (flags & flag) != 0; }

/// The texts whose hash is sent by mistake, and what each is.
std::string hintForHash(const Data& hash, const std::string& relyingParty) {
  using Row = std::pair<std::string, std::string>;
  const std::string origin = "https://" + relyingParty;
  for (const auto& [text, what] :
       {Row{origin, "of the origin " + origin + "; hash the domain alone"},
        Row{origin + "/", "of the URL " + origin + "/; hash the domain alone"},
        Row{"www." + relyingParty, "of www." + relyingParty},
        Row{relyingParty + "\n", "of the domain and a newline"},
        Row{std::string(relyingParty + '\0'), "of the domain and a zero byte"},
        Row{"", "of an empty text"}}) {
    if (hash == sha256(text)) {
      return "the hash is that " + what;
    }
  }
  return mistakeBetween(sha256(relyingParty), hash);
}

Finding judgeRelyingPartyHash(const Data& hash, const std::string& relyingParty) {
  if (hash == sha256(relyingParty)) {
    return holding(Subject::authenticatorData, "the authenticator names " + relyingParty + " too");
  }
  return failing(Subject::authenticatorData, "the authenticator names another relying party",
                 {.wanted = "SHA-256 of " + quotedText(relyingParty) + ", " +
                            hexadecimalOf(sha256(relyingParty).bytes()),
                  .got = hexadecimalOf(hash.bytes()),
                  .hint = hintForHash(hash, relyingParty)});
}

Finding judgePresence(std::uint8_t flags, bool required) {
  if (has(flags, UserPresent)) {
    return holding(Subject::flags, "a user was present");
  }
  return required ? failing(Subject::flags, "no user was present",
                            {.wanted = "UP (0x01)", .got = wordsForFlags(flags)})
                  : holding(Subject::flags, "no user was present, and none was asked for");
}

Finding judgeVerification(std::uint8_t flags, bool required) {
  if (has(flags, UserVerified)) {
    return holding(Subject::verification, "the user was verified");
  }
  return required
             ? failing(Subject::verification, "the user was not verified",
                       {.wanted = "UV (0x04), which the request requires, or a refusal",
                        .got = wordsForFlags(flags),
                        .hint = "verify the user, and then set UV; a silent request for which the "
                                "host would have to ask is refused with userInteractionRequired"})
             : holding(Subject::verification, "the user was not verified, which was not required");
}

/// Backed up is only what can be: https://www.w3.org/TR/webauthn-3/#sctn-credential-backup
Finding judgeBackup(std::uint8_t flags) {
  if (has(flags, BackedUp) && !has(flags, BackupEligible)) {
    return failing(Subject::flags, "its backup flags do not agree",
                   {.wanted = "BS (0x10) only with BE (0x08)", .got = wordsForFlags(flags)});
  }
  return holding(Subject::flags, "its backup flags agree");
}

Finding judgeReserved(std::uint8_t flags) {
  if (has(flags, ReservedFlags)) {
    return failing(Subject::flags, "a reserved flag is set",
                   {.wanted = "the bits 0x02 and 0x20 zero", .got = wordsForFlags(flags)});
  }
  return holding(Subject::flags, "no reserved flag is set");
}

}  // namespace

std::string wordsForFlags(std::uint8_t flags) {
  using Row = std::pair<std::uint8_t, std::string_view>;
  std::string names;
  for (const auto& [flag, name] :
       {Row{UserPresent, "UP"}, Row{0x02, "reserved 0x02"}, Row{UserVerified, "UV"},
        Row{BackupEligible, "BE"}, Row{BackedUp, "BS"}, Row{0x20, "reserved 0x20"},
        Row{AttestedCredentialDataIncluded, "AT"}, Row{ExtensionDataIncluded, "ED"}}) {
    if (has(flags, flag)) {
      names.append(names.empty() ? "" : ", ").append(name);
    }
  }
  const std::array<std::uint8_t, 1> byte{flags};
  return (names.empty() ? "none" : names) + " (0x" + hexadecimalOf(byte) + ")";
}

Finding shortStatement(const Data& bytes, std::string_view relyingParty) {
  Flaw flaw{.wanted = "at least 37 bytes", .got = wordsFor(bytes)};
  const Data hash = sha256(relyingParty);
  if (bytes == hash) {
    flaw.hint = "the relying party's hash alone: the flags and the counter are missing";
  } else if (bytes.size() >= hash.size() && bytes.slice(0, hash.size()) == hash) {
    flaw.hint = "a flags byte and a counter of four bytes follow the hash";
  }
  return failing(Subject::authenticatorData, "the authenticator data is cut short",
                 std::move(flaw));
}

FindingList judgeStatement(const AuthenticatorStatement& statement, const RequestTerms& terms) {
  return {judgeRelyingPartyHash(statement.relyingPartyHash, terms.relyingParty),
          judgePresence(statement.flags, terms.presenceRequired),
          judgeVerification(statement.flags, terms.verificationRequired),
          judgeBackup(statement.flags), judgeReserved(statement.flags)};
}

Finding judgeRestOfAssertion(const AuthenticatorStatement& statement) {
  const bool attests = has(statement.flags, AttestedCredentialDataIncluded);
  if (attests) {
    const bool empty = statement.rest.empty();
    return failing(Subject::authenticatorData, "the flag AT is set in an assertion",
                   {.wanted = "37 bytes, and AT (0x40) clear",
                    .got = std::to_string(SizeInAssertion + statement.rest.size()) + " bytes, " +
                           wordsForFlags(statement.flags),
                    .hint = empty ? "AT announces attested credential data, and none follows"
                                  : "attested credential data belongs into a registration only"});
  }
  return judgeExtensions(statement.flags, statement.rest, Subject::authenticatorData);
}

Finding judgeExtensions(std::uint8_t flags, const Data& rest, Subject subject) {
  if (!has(flags, ExtensionDataIncluded)) {
    return rest.empty() ? holding(subject, "nothing follows the authenticator data")
                        : failing(subject, "the authenticator data is too long",
                                  {.wanted = "nothing behind it, or ED (0x80) and a map",
                                   .got = wordsFor(rest) + " more; " + wordsForFlags(flags)});
  }
  const CborStart map = loadCbor(rest);
  const bool isMap = map.item && cbor_isa_map(map.item.get()) && map.size == rest.size();
  return isMap ? holding(subject, "extensions follow the authenticator data")
               : failing(subject, "the flag ED announces extensions, and none follow",
                         {.wanted = "a CBOR map, or ED (0x80) clear",
                          .got = wordsFor(rest) + "; " + wordsForFlags(flags)});
}

Finding judgeEligibility(std::uint8_t flags, bool registered) {
  const auto words = [](bool eligible) { return eligible ? "BE (0x08) set" : "BE (0x08) clear"; };
  if (has(flags, BackupEligible) == registered) {
    return holding(Subject::flags, "as eligible for backups as when it was registered");
  }
  return failing(Subject::flags, "BE is not as it was when the passkey was registered",
                 {.wanted = words(registered),
                  .got = wordsForFlags(flags),
                  .hint = "BE never changes; BS tells whether it is backed up now"});
}

Finding judgeCounter(std::uint32_t count, std::uint32_t known) {
  const std::string numbers =
      "sign count " + std::to_string(count) + ", after " + std::to_string(known);
  constexpr std::uint32_t UnlikelyCount = 1U << 24U;
  constexpr std::uint32_t LowHalf = 0xFFFF;
  // A sound counter would have to pass sixteen million to look like that.
  if (count >= UnlikelyCount && (count & LowHalf) == 0) {
    return failing(Subject::counter, "the sign count is little-endian",
                   {.wanted = "four bytes, big-endian",
                    .got = numbers,
                    .hint = "little-endian: with its bytes reversed it is " +
                            std::to_string(std::byteswap(count))});
  }
  // Zero from both means that the authenticator does not count.
  if (count > known || (count == 0 && known == 0)) {
    return holding(Subject::counter, "sign count " + std::to_string(count) +
                                         ", above the last one, " + std::to_string(known));
  }
  return failing(Subject::counter,
                 "sign count " + std::to_string(count) + ", which is not above the last one, " +
                     std::to_string(known),
                 {.wanted = "zero always, or more than last time", .got = numbers});
}

}  // namespace korvan::lab
