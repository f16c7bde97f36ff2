#pragma once

#include <memory>
#include <string_view>

#include <openssl/types.h>

#include "platform/CodeSigning.h"

namespace korvan {

/// Code signing of processes by CMS: a program is signed by a detached signature in DER, in the
/// file of the same name with ".p7s" at the end, over the program file's bytes (RFC 5652).
///
/// Signatures must use SHA-256 or stronger and have one signer, whose certificate allows digital
/// signatures and, if it limits its uses at all, code signing. "anchor apple generic" means the one
/// trust anchor given here.
///
/// A process is looked up by its id. Ids are reused: between the look-up of a peer's id and the
/// check, the peer may have ended and another program of the same user have got the id. What is
/// checked is the program's file: not the libraries that it loads, nor who else holds its sockets.
class LinuxCodeSigning final : public CodeSigning {
 public:
  /// Throws std::invalid_argument when `trustAnchorPem` does not hold exactly one certificate.
  explicit LinuxCodeSigning(std::string_view trustAnchorPem);
  ~LinuxCodeSigning() override;

  LinuxCodeSigning(const LinuxCodeSigning&) = delete;
  LinuxCodeSigning& operator=(const LinuxCodeSigning&) = delete;

  /// errSecCSNoSuchCode when there is no such process, else 100000 + `errno` when its program
  /// cannot be read. The program is kept open with the code.
  [[nodiscard]] OSStatus copyGuest(std::int32_t processIdentifier,
                                   std::unique_ptr<Code>& code) const override;

  [[nodiscard]] OSStatus createRequirement(
      std::string_view text, std::unique_ptr<Requirement>& requirement) const override;

  /// Reads the whole program. The first of these that holds:
  /// -67034 the file at the program's path is no longer the one that runs;
  /// -67062 there is no signature; 100000 + `errno` it cannot be read;
  /// -67061 the signature is malformed, is not the signature of these bytes, has no or several
  /// signers, or its certificate must not be used for it;
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
