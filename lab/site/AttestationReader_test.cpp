#include "lab/site/AttestationReader.h"

#include <gtest/gtest.h>

#include "lab/host/AuthenticatorData.h"
#include "lab/host/SigningKey.h"
#include "lab/support/Bytes_testing.h"

namespace korvan::lab {
namespace {

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

TEST(AttestationReader, LeavesWhatFollowsTheKey) {
  const Data attested =
      host::attestedCredentialData(testBytes(16, 'i').bytes(), host::SigningKey::generate());
  const auto credential = readAttestedCredentialData(joined({attested, bytes({0xA0})}));
  EXPECT_EQ(credential->coseKey.size(), 77U);
  EXPECT_EQ(credential->rest, bytes({0xA0}));
}

TEST(AttestationReader, ReadsTheAuthenticatorDataOfAnyFormatInAnyOrder) {
  const Data data = testBytes(24, 'd');
  EXPECT_EQ(readAttestationObject(host::attestationObject(data.bytes())), data);
  EXPECT_EQ(
      readAttestationObject(bytes({0xA1, 0x68, 'a', 'u', 't', 'h', 'D', 'a', 't', 'a', 0x41, 7})),
      bytes({7}));
}

TEST(AttestationReader, ReadsNothingFromWhatIsNoAttestationObjectOrKey) {
  for (const Data& other : {Data(), bytes({0xA0}), bytes({0x80}), testBytes(1, 0xFF)}) {
    EXPECT_FALSE(readAttestationObject(other).has_value());
    EXPECT_FALSE(readCoseKey(other).has_value());
  }
  // The authenticator data as a text, and as bytes in pieces.
  const Data name = bytes({0xA1, 0x68, 'a', 'u', 't', 'h', 'D', 'a', 't', 'a'});
  EXPECT_FALSE(readAttestationObject(joined({name, bytes({0x61, 'd'})})).has_value());
  EXPECT_FALSE(readAttestationObject(joined({name, bytes({0x5F, 0x41, 'd', 0xFF})})).has_value());
}

}  // namespace
}  // namespace korvan::lab
