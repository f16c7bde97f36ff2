#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <span>
#include <string>

#include <openssl/types.h>

#include "platform/CodeSigning.h"

namespace korvan {

// Statuses of the Security framework.
// https://developer.apple.com/documentation/security/code-signing-services-result-codes
inline constexpr OSStatus CodeNoSuchProcess = -67065;
inline constexpr OSStatus CodeUnsigned = -67062;
inline constexpr OSStatus CodeSignatureFailed = -67061;
inline constexpr OSStatus CodeSignatureUnsupported = -67059;
inline constexpr OSStatus CodeChangedOnDisk = -67034;
inline constexpr OSStatus CodeCertificateExpired = -2147409654;
inline constexpr OSStatus CodeCertificateNotValidYet = -2147409653;

/// Who signed a program, as far as requirements ask.
struct CodeSigner {
  /// Whether the certificate chain ends in the trust anchor.
  bool isAnchored = false;
  /// The certificate's organizational unit and common name; none where it has none or several.
  std::optional<std::string> organizationalUnit;
  std::optional<std::string> commonName;
};

/// The signer of the program that `descriptor` has open, by its detached CMS signature in DER; or
/// the status above that says why the signature does not count. Reads the program from the
/// descriptor's offset, which must be its start, to its end.
[[nodiscard]] std::expected<CodeSigner, OSStatus> verifyCodeSignature(
    int descriptor, std::span<const std::uint8_t> signature, X509& trustAnchor);

}  // namespace korvan
