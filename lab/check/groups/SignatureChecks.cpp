#include <chrono>
#include <ctime>
#include <expected>
#include <filesystem>
#include <string>
#include <vector>

#include "channel/HostIdentifiers.h"
#include "channel/PeerVerification.h"
#include "lab/check/Catalog.h"
#include "lab/check/CheckContext.h"
#include "lab/check/Peer.h"
#include "lab/check/SignatureFile.h"
#include "lab/check/SocketTable.h"

namespace korvan::lab::check {
namespace {

namespace fs = std::filesystem;

Result signatureFailure(std::string got, std::string wanted, std::string hint) {
  return failed({.got = std::move(got), .wanted = std::move(wanted), .hint = std::move(hint)});
}

/// A file that the program was started with, or by, and that has a signature of its own.
std::string signedByMistake(const Peer& peer) {
  for (const std::string& word : commandOf(peer.process)) {
    std::error_code error;
    const fs::path file = fs::path("/proc/" + std::to_string(peer.process)) / "cwd" / word;
    if (word != peer.executable && fs::exists(file.string() + ".p7s", error)) {
      return word;
    }
  }
  return {};
}

Result signaturePresent(CheckContext& context) {
  const Peer peer = peerOf(context);
  const std::string file = peer.executable + ".p7s";
  if (fs::exists(file)) {
    return passed();
  }
  const std::string mistaken = signedByMistake(peer);
  return signatureFailure(
      "no " + file, "the signature of the program that runs, beside it",
      mistaken.empty()
          ? "no " + file + ": sign the program with tools/sign-executable"
          : "you signed " + mistaken + ", a script or a link; what runs is " + peer.executable);
}

/// The signature of the program that listens. Throws a CheckEnd that names signature.bytes when it
/// cannot be read, so that the checks of what is in it need not look.
SignatureFacts factsOf(CheckContext& context) {
  auto facts = readSignature(peerOf(context).executable, context.settings().trustAnchorPem);
  if (!facts) {
    throw CheckEnd(blockedBy("signature.bytes"));
  }
  return *std::move(facts);
}

Result signatureBytes(CheckContext& context) {
  const auto facts = readSignature(peerOf(context).executable, context.settings().trustAnchorPem);
  return facts ? passed()
               : signatureFailure(facts.error(),
                                  "a detached CMS signature in DER, of the program's bytes",
                                  facts.error());
}

Result signatureRunning(CheckContext& context) {
  const Peer peer = peerOf(context);
  return peer.replaced ? signatureFailure(
                             "another file at " + peer.executable, "the one that runs",
                             peer.executable + " was replaced while running: start the host again")
                       : passed();
}

Result signatureAnchor(CheckContext& context) {
  const SignatureFacts facts = factsOf(context);
  if (facts.isAnchored) {
    return passed();
  }
  const std::string got = "a certificate issued by " + facts.issuer;
  const std::string wanted =
      "a chain that ends in " + facts.anchor + ", SHA-256 " + facts.anchorFingerprint;
  return facts.issuer == facts.anchor
             ? signatureFailure(got, wanted,
                                "issued by another authority of the name " + facts.anchor +
                                    " than the trust anchor; name yours with --trust-anchor")
             : signatureFailure(got, wanted,
                                "issued by " + facts.issuer + ", but the trust anchor is " +
                                    facts.anchor + "; name yours with --trust-anchor");
}

Result sameName(const std::optional<std::string>& got, std::string_view wanted,
                const std::string& attribute) {
  if (got == wanted) {
    return passed();
  }
  const std::string value = got ? attribute + " " + *got : "no single " + attribute;
  return signatureFailure(value, attribute + " " + std::string(wanted),
                          "the certificate has " + value + ", this build of the extension wants " +
                              std::string(wanted));
}

Result signatureTeam(CheckContext& context) {
  return sameName(factsOf(context).organizationalUnit, HostTeamIdentifier, "OU");
}

Result signatureIdentifier(CheckContext& context) {
  return sameName(factsOf(context).commonName, HostBundleIdentifier, "CN");
}

Result signatureValidity(CheckContext& context) {
  constexpr std::time_t Week = std::chrono::seconds(std::chrono::weeks(1)).count();
  const SignatureFacts facts = factsOf(context);
  const std::time_t now = std::time(nullptr);
  Findings findings{
      .got = "valid from " + dateOf(facts.validFrom) + " until " + dateOf(facts.validUntil),
      .wanted = "a certificate that is valid now, " + dateOf(now),
      .hint = "expired at " + dateOf(facts.validUntil) + ": sign again"};
  if (now > facts.validUntil) {
    return failed(findings);
  }
  if (now < facts.validFrom) {
    findings.hint = "not valid before " + dateOf(facts.validFrom) + ": is a clock wrong?";
    return failed(findings);
  }
  if (facts.validUntil - now < Week) {
    findings.hint = "expires soon, at " + dateOf(facts.validUntil);
    return warned(findings);
  }
  return passed();
}

Result signatureAccepted(CheckContext& context) {
  const PeerVerdict verdict =
      verifyPeer(context.sockets(), context.codeSigning(), context.silentConnection().descriptor(),
                 AcceptedHostIdentifiers);
  if (verdict.matchedIdentifier) {
    return passed();
  }
  const std::string why = verdict.error->localizedDescription().value_or("no reason is known");
  return signatureFailure(why, "a host that the extension trusts", why);
}

Check signatureCheck(std::string_view name, std::string_view passes,
                     std::vector<std::string_view> after, Result (*run)(CheckContext&)) {
  return hostCheck(name, passes, std::move(after), "whom-the-extension-trusts", run);
}

}  // namespace

std::vector<Check> signatureChecks() {
  return {
      signatureCheck("signature.present", "a .p7s file is beside the program that runs",
                     {"socket.kind", "peer.listener"}, signaturePresent),
      signatureCheck("signature.bytes", "it is a signature of the program's bytes on the disk",
                     {"signature.present"}, signatureBytes),
      signatureCheck("signature.running", "the program on the disk is the one that runs",
                     {"socket.kind", "peer.listener"}, signatureRunning),
      signatureCheck("signature.anchor", "its chain ends in the trust anchor", {"signature.bytes"},
                     signatureAnchor),
      signatureCheck("signature.team", "its OU is the build's team", {"signature.bytes"},
                     signatureTeam),
      signatureCheck("signature.identifier", "its CN is the build's identifier of the host",
                     {"signature.bytes"}, signatureIdentifier),
      signatureCheck("signature.validity", "its certificate is valid now", {"signature.bytes"},
                     signatureValidity),
      signatureCheck("signature.accepted", "the extension trusts the host",
                     {"peer.user", "signature.bytes", "signature.running", "signature.anchor",
                      "signature.team", "signature.identifier", "signature.validity"},
                     signatureAccepted),
  };
}

}  // namespace korvan::lab::check
