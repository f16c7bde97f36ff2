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

/// What requirements can ask about the signer of a program.
struct CodeSigner {
  /// Whether the certificate chain ends in the trust anchor.
  bool isAnchored = false;
  /// The certificate's organizational unit and common name. Nullopt when it has none, or several.
  std::optional<std::string> organizationalUnit;
  std::optional<std::string> commonName;
};

/// Verifies a program's detached CMS signature in DER, and returns its signer, or the status above
/// that says why the signature is rejected. Reads the program from `descriptor`, whose offset must
/// be 0.
[[nodiscard]] std::expected<CodeSigner, OSStatus> verifyCodeSignature(
    int descriptor, std::span<const std::uint8_t> signature, X509& trustAnchor);

}  // namespace korvan
