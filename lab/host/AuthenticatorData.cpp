#include "lab/host/AuthenticatorData.h"

#include <array>
#include <vector>

#include <openssl/evp.h>
#include <openssl/sha.h>

#include "lab/host/CborWriter.h"

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

/// Labels and values: https://www.rfc-editor.org/rfc/rfc9053#section-7.1.
Data coseKey(const SigningKey& key) {
  CborWriter cbor;
  cbor.map(5);
  cbor.integer(1);  // kty: EC2
  cbor.integer(2);
  cbor.integer(3);  // alg: ES256
  cbor.integer(-7);
  cbor.integer(-1);  // crv: P-256
  cbor.integer(1);
  cbor.integer(-2);
  cbor.bytes(key.publicX().bytes());
  cbor.integer(-3);
  cbor.bytes(key.publicY().bytes());
  return cbor.data();
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
  append(buffer, coseKey(key).bytes());
  return Data::copyOf(buffer);
}

Data attestationObject(std::span<const std::uint8_t> authenticatorData) {
  CborWriter cbor;
  cbor.map(3);
  cbor.text("fmt");
  cbor.text("none");
  cbor.text("attStmt");
  cbor.map(0);
  cbor.text("authData");
  cbor.bytes(authenticatorData);
  return cbor.data();
}

}  // namespace korvan::lab::host
