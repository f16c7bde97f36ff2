#include "lab/site/AttestationReader.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "lab/host/AuthenticatorData.h"
#include "lab/host/SigningKey.h"
#include "lab/support/Bytes_testing.h"

namespace korvan::lab {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// The bytes of CBOR, which a test may change.
Bytes coseKey() {
  const Data key = host::attestedCredentialData({}, host::SigningKey::generate());
  return {key.bytes().begin() + 18, key.bytes().end()};
}

Bytes attestation() {
  const Data object = host::attestationObject(testBytes(24, 'd').bytes());
  return {object.bytes().begin(), object.bytes().end()};
}

/// `bytes` with the one at `place` turned into `value`.
Data with(Bytes bytes, std::size_t place, std::uint8_t value) {
  bytes.at(place) = value;
  return Data::copyOf(bytes);
}

/// `bytes` with `inserted` in place of the last `count`.
Bytes endingIn(Bytes bytes, std::size_t count, const Bytes& inserted) {
  bytes.resize(bytes.size() - count);
  bytes.insert(bytes.end(), inserted.begin(), inserted.end());
  return bytes;
}

TEST(AttestationReader, ReadsTheKeyOfAnAttestedCredential) {
  const host::SigningKey key = host::SigningKey::generate();
  const auto credential =
      readAttestedCredentialData(host::attestedCredentialData(testBytes(300, 'i').bytes(), key));
  ASSERT_TRUE(credential.has_value());
  EXPECT_EQ(credential->aaguid, testBytes(16, 0));
  EXPECT_EQ(credential->credentialID, testBytes(300, 'i'));
  EXPECT_EQ(readCoseKey(credential->coseKey)->x, key.publicX());
}

TEST(AttestationReader, RefusesAuthenticatorDataThatIsCutShort) {
  EXPECT_FALSE(readAuthenticatorData(testBytes(36, 0)).has_value());
  EXPECT_FALSE(readAttestedCredentialData(testBytes(17, 0)).has_value());
  // A credential ID of 257 bytes is announced, and none follows.
  EXPECT_FALSE(readAttestedCredentialData(testBytes(18, 1)).has_value());
}

TEST(AttestationReader, RefusesAKeyThatIsNotForEs256OnP256InCanonicalOrder) {
  const Bytes good = coseKey();
  EXPECT_TRUE(readCoseKey(bytes(good)).has_value());
  EXPECT_FALSE(readCoseKey(with(good, 1, 3)).has_value()) << "another first label";
  EXPECT_FALSE(readCoseKey(with(good, 2, 1)).has_value()) << "another type";
  EXPECT_FALSE(readCoseKey(with(good, 4, 0x27)).has_value()) << "another algorithm";
  EXPECT_FALSE(readCoseKey(with(good, 6, 2)).has_value()) << "another curve";
  EXPECT_FALSE(readCoseKey(with(good, 7, 0x23)).has_value()) << "another coordinate";
  EXPECT_FALSE(readCoseKey(with(endingIn(good, 35, {}), 0, 0xA4)).has_value()) << "no y";
  EXPECT_FALSE(readCoseKey(with(endingIn(good, 0, {0x23, 0}), 0, 0xA6)).has_value()) << "six";
  EXPECT_FALSE(readCoseKey(bytes(endingIn(good, 0, {0}))).has_value()) << "one byte more";
  EXPECT_FALSE(readCoseKey(Data()).has_value());
}

TEST(AttestationReader, RefusesAnAttestationOfAnotherFormatOrShape) {
  const Bytes good = attestation();
  EXPECT_EQ(readAttestationObject(bytes(good)), testBytes(24, 'd'));
  EXPECT_FALSE(readAttestationObject(with(good, 6, 'N')).has_value()) << "another format";
  EXPECT_FALSE(readAttestationObject(with(good, 18, 0x80)).has_value()) << "a list as statement";
  EXPECT_FALSE(readAttestationObject(with(good, 20, 'A')).has_value()) << "another name";
  EXPECT_FALSE(readAttestationObject(bytes(endingIn(good, 0, {0}))).has_value());
  EXPECT_FALSE(readAttestationObject(bytes(endingIn(good, 1, {}))).has_value());
  EXPECT_FALSE(readAttestationObject(testBytes(1, 0xFF)).has_value());
  // {"alg": 0} where the statement is to be empty.
  Bytes stated = good;
  stated[18] = 0xA1;
  stated.insert(stated.begin() + 19, {0x63, 'a', 'l', 'g', 0});
  EXPECT_FALSE(readAttestationObject(bytes(stated)).has_value());
}

TEST(AttestationReader, RefusesBytesThatComeInPieces) {
  // The authenticator data, which ends the object, as a byte string of indefinite length.
  EXPECT_FALSE(readAttestationObject(bytes(endingIn(attestation(), 26, {0x5F, 0x41, 'd', 0xFF}))));
}

TEST(AttestationReader, RefusesAnAlgorithmThatIsTooLargeForAnInteger) {
  Bytes key = coseKey();
  // The value behind the label 3: 2^64 - 7, of which the low bits are those of -7.
  key[4] = 0x1B;
  key.insert(key.begin() + 5, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xF9});
  EXPECT_FALSE(readCoseKey(bytes(key)).has_value());
}

}  // namespace
}  // namespace korvan::lab
