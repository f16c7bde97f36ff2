#pragma once

#include <memory>
#include <string_view>

#include <openssl/types.h>

#include "platform/CodeSigning.h"

namespace korvan {

/// Code signing with CMS (RFC 5652). A detached signature over the program file's bytes, in DER, is
/// in the file of the same name with ".p7s" appended.
///
/// Signatures must use SHA-256 or stronger and have one signer, whose certificate allows digital
/// signatures and, if it restricts its uses, code signing. "anchor apple generic" means the trust
/// anchor given here.
///
/// A process is found by its id, and ids are reused: a peer may end before the check, and another
/// program of the same user may get its id. Only the program's file is checked, not the libraries
/// that it loads, nor who else holds its sockets.
class LinuxCodeSigning final : public CodeSigning {
 public:
  /// Throws std::invalid_argument when `trustAnchorPem` does not hold exactly one certificate.
  explicit LinuxCodeSigning(std::string_view trustAnchorPem);
  ~LinuxCodeSigning() override;

  LinuxCodeSigning(const LinuxCodeSigning&) = delete;
  LinuxCodeSigning& operator=(const LinuxCodeSigning&) = delete;

  /// Returns errSecCSNoSuchCode when there is no such process, or 100000 + `errno` when its program
  /// cannot be read. `code` keeps the program open.
  [[nodiscard]] OSStatus copyGuest(std::int32_t processIdentifier,
                                   std::unique_ptr<Code>& code) const override;

  [[nodiscard]] OSStatus createRequirement(
      std::string_view text, std::unique_ptr<Requirement>& requirement) const override;

  /// Reads the whole program. Returns 0, or the first of these that applies:
  /// -67034 the file at the program's path is no longer the running one;
  /// -67062 there is no signature; 100000 + `errno`: it cannot be read;
  /// -67061 the signature is malformed, does not match the bytes, has no signer or several, or its
  /// certificate does not allow this use;
  /// -67059 its digest, or a digest or key of the certificate chain, is too weak;
  /// -2147409654 a certificate has expired, -2147409653 is not valid yet;
  /// -67050 the requirement is not satisfied.
  [[nodiscard]] OSStatus checkValidity(const Code& code,
                                       const Requirement& requirement) const override;

  [[nodiscard]] std::optional<std::string> errorMessage(OSStatus status) const override;

 private:
  struct FreeCertificate {
    void operator()(X509* certificate) const;
  };
  std::unique_ptr<X509, FreeCertificate> trustAnchor_;
};

}  // namespace korvan
