#include "lab/host/AuthenticatorData.h"

#include <array>
#include <vector>

#include <openssl/evp.h>
#include <openssl/sha.h>

namespace korvan::lab::host {
namespace {

using Buffer = std::vector<std::uint8_t>;

void append(Buffer& buffer, std::span<const std::uint8_t> bytes) {
  buffer.insert(buffer.end(), bytes.begin(), bytes.end());
}

void appendBigEndian(Buffer& buffer, std::uint32_t value, unsigned size) {
  for (unsigned shift = size * 8; shift > 0; shift -= 8) {
    buffer.push_back(static_cast<std::uint8_t>(value >> (shift - 8)));
  }
}

}  // namespace

Data authenticatorData(std::string_view relyingPartyIdentifier, std::uint8_t flags,
                       std::uint32_t signCount,
                       std::span<const std::uint8_t> attestedCredentialData) {
  std::array<std::uint8_t, SHA256_DIGEST_LENGTH> relyingPartyHash{};
  EVP_Digest(relyingPartyIdentifier.data(), relyingPartyIdentifier.size(), relyingPartyHash.data(),
             nullptr, EVP_sha256(), nullptr);

  Buffer buffer;
  append(buffer, relyingPartyHash);
  buffer.push_back(flags);
  appendBigEndian(buffer, signCount, 4);
  append(buffer, attestedCredentialData);
  return Data::copyOf(buffer);
}

Data attestedCredentialData(std::span<const std::uint8_t> credentialID, const SigningKey& key) {
  Buffer buffer(16, 0);  // the AAGUID
  appendBigEndian(buffer, static_cast<std::uint32_t>(credentialID.size()), 2);
  append(buffer, credentialID);
  // The COSE_Key, in CBOR: a map of five. https://www.rfc-editor.org/rfc/rfc9053#section-7.1
  append(buffer, Buffer{0xA5,                // {
                        0x01, 0x02,          //   1 (kty): 2 (EC2)
                        0x03, 0x26,          //   3 (alg): -7 (ES256)
                        0x20, 0x01,          //   -1 (crv): 1 (P-256)
                        0x21, 0x58, 0x20});  //   -2 (x): 32 bytes
  append(buffer, key.publicX().bytes());
  append(buffer, Buffer{0x22, 0x58, 0x20});  //   -3 (y): 32 bytes }
  append(buffer, key.publicY().bytes());
  return Data::copyOf(buffer);
}

Data attestationObject(std::span<const std::uint8_t> authenticatorData) {
  // {"fmt": "none", "attStmt": {}, "authData": bytes whose number takes two bytes, or fewer}, in
  // CBOR. https://www.rfc-editor.org/rfc/rfc8949#section-3
  constexpr std::string_view start =
      "\xA3\x63"
      "fmt\x64none\x67"
      "attStmt\xA0\x68"
      "authData";
  Buffer buffer(start.begin(), start.end());
  const auto size = static_cast<std::uint32_t>(authenticatorData.size());
  const bool isShort = size <= 0xFF;
  buffer.push_back(isShort ? 0x58 : 0x59);
  appendBigEndian(buffer, size, isShort ? 1 : 2);
  append(buffer, authenticatorData);
  return Data::copyOf(buffer);
}

}  // namespace korvan::lab::host
