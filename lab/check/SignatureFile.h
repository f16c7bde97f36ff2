#pragma once

#include <ctime>
#include <expected>
#include <optional>
#include <string>

namespace korvan::lab::check {

/// What a program's signature says of its signer. Nothing in it is trusted: it is for people.
struct SignatureFacts {
  std::string signer;  ///< the subjects and issuers as OpenSSL writes them
  std::string issuer;
  std::string anchor;
  std::string anchorFingerprint;  ///< SHA-256 of its certificate, in hexadecimal
  /// Whether the chain ends in the trust anchor, whatever the time.
  bool isAnchored = false;
  /// Nullopt when there is none, or several.
  std::optional<std::string> organizationalUnit;
  std::optional<std::string> commonName;
  std::time_t validFrom = 0;
  std::time_t validUntil = 0;
};

/// Reads the signature of the program at `executable`, from the file of the same name with ".p7s"
/// appended, and checks it against the program's bytes on the disk. Otherwise the mistake that was
/// probably made. `anchorPem` holds one certificate.
[[nodiscard]] std::expected<SignatureFacts, std::string> readSignature(
    const std::string& executable, const std::string& anchorPem);

/// A point in time for people, to the minute, in UTC.
[[nodiscard]] std::string dateOf(std::time_t time);

}  // namespace korvan::lab::check
