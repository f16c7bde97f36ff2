#include "lab/site/AttestationReader.h"

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "lab/host/AuthenticatorData.h"
#include "lab/host/CborWriter.h"
#include "lab/host/RelyingParty_testing.h"

namespace korvan::lab {
namespace {

/// A COSE key with its entries as a test wants them.
struct KeyEntries {
  std::vector<std::int64_t> labels = {1, 3, -1, -2, -3};
  std::int64_t type = 2;
  std::int64_t algorithm = -7;
  std::int64_t curve = 1;

  [[nodiscard]] Data cbor() const {
    host::CborWriter writer;
    writer.map(labels.size());
    for (const std::int64_t label : labels) {
      writer.integer(label);
      switch (label) {
        case 1:
          writer.integer(type);
          break;
        case 3:
          writer.integer(algorithm);
          break;
        case -1:
          writer.integer(curve);
          break;
        default:
          writer.bytes(host::testBytes(32, 'c').bytes());
      }
    }
    return writer.data();
  }
};

Data attestationOf(std::string_view format, std::string_view lastName, std::size_t statements) {
  host::CborWriter writer;
  writer.map(3);
  writer.text("fmt");
  writer.text(format);
  writer.text("attStmt");
  writer.map(statements);
  for (std::size_t index = 0; index < statements; ++index) {
    writer.text("alg");
    writer.integer(-7);
  }
  writer.text(lastName);
  writer.bytes(host::testBytes(1, 'd').bytes());
  return writer.data();
}

Data withOneByteMore(const Data& data) {
  std::vector<std::uint8_t> bytes(data.bytes().begin(), data.bytes().end());
  bytes.push_back(0);
  return Data::copyOf(bytes);
}

TEST(AttestationReader, ReadsTheKeyOfAnAttestedCredential) {
  const host::SigningKey key = host::SigningKey::generate();
  const auto credential = readAttestedCredentialData(
      host::attestedCredentialData(host::testBytes(300, 'i').bytes(), key));
  ASSERT_TRUE(credential.has_value());
  EXPECT_EQ(credential->aaguid, host::testBytes(16, 0));
  EXPECT_EQ(credential->credentialID, host::testBytes(300, 'i'));
  EXPECT_EQ(readCoseKey(credential->coseKey)->x, key.publicX());
}

TEST(AttestationReader, RefusesAuthenticatorDataThatIsCutShort) {
  EXPECT_FALSE(readAuthenticatorData(host::testBytes(36, 0)).has_value());
  EXPECT_FALSE(readAttestedCredentialData(host::testBytes(17, 0)).has_value());
  // A credential ID of 257 bytes is announced, and none follows.
  EXPECT_FALSE(readAttestedCredentialData(host::testBytes(18, 1)).has_value());
}

TEST(AttestationReader, RefusesAKeyThatIsNotForEs256OnP256InCanonicalOrder) {
  EXPECT_TRUE(readCoseKey(KeyEntries().cbor()).has_value());
  for (const KeyEntries& other :
       {KeyEntries{.labels = {1, 3, -1, -2}}, KeyEntries{.labels = {3, 1, -1, -2, -3}},
        KeyEntries{.labels = {1, 3, -1, -2, -3, -4}}, KeyEntries{.type = 1},
        KeyEntries{.algorithm = -8}, KeyEntries{.curve = 2}}) {
    EXPECT_FALSE(readCoseKey(other.cbor()).has_value());
  }
  EXPECT_FALSE(readCoseKey(withOneByteMore(KeyEntries().cbor())).has_value());
  EXPECT_FALSE(readCoseKey(Data()).has_value());
}

TEST(AttestationReader, RefusesAnAttestationOfAnotherFormatOrShape) {
  const Data good = attestationOf("none", "authData", 0);
  EXPECT_EQ(readAttestationObject(good), host::testBytes(1, 'd'));
  EXPECT_FALSE(readAttestationObject(attestationOf("packed", "authData", 0)).has_value());
  EXPECT_FALSE(readAttestationObject(attestationOf("none", "authdata", 0)).has_value());
  EXPECT_FALSE(readAttestationObject(attestationOf("none", "authData", 1)).has_value());
  EXPECT_FALSE(readAttestationObject(withOneByteMore(good)).has_value());
  EXPECT_FALSE(readAttestationObject(good.slice(0, good.size() - 1)).has_value());
  EXPECT_FALSE(readAttestationObject(host::testBytes(1, 0xFF)).has_value());
}

TEST(AttestationReader, RefusesBytesThatComeInPieces) {
  // The authenticator data, which ends the object, as a byte string of indefinite length.
  const Data good = attestationOf("none", "authData", 0);
  std::vector<std::uint8_t> bytes(good.bytes().begin(), good.bytes().end() - 2);
  const std::vector<std::uint8_t> pieces = {0x5F, 0x41, 'd', 0xFF};
  bytes.insert(bytes.end(), pieces.begin(), pieces.end());
  EXPECT_FALSE(readAttestationObject(Data::copyOf(bytes)).has_value());
}

TEST(AttestationReader, RefusesAnAlgorithmThatIsTooLargeForAnInteger) {
  const Data key = KeyEntries{.algorithm = -8}.cbor();
  std::vector<std::uint8_t> bytes(key.bytes().begin(), key.bytes().end());
  // The value behind the label 3: 2^64 - 7, of which the low bits are those of -7.
  const std::vector<std::uint8_t> huge = {0x1B, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xF9};
  ASSERT_EQ(bytes[4], 0x27);
  bytes.erase(bytes.begin() + 4);
  bytes.insert(bytes.begin() + 4, huge.begin(), huge.end());
  EXPECT_FALSE(readCoseKey(Data::copyOf(bytes)).has_value());
}

}  // namespace
}  // namespace korvan::lab
