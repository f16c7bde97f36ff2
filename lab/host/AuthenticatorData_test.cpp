#include "lab/host/AuthenticatorData.h"

#include <gtest/gtest.h>

#include "lab/site/AttestationReader.h"
#include "lab/support/Bytes_testing.h"
#include "platform/Text.h"

namespace korvan::lab::host {
namespace {

// SHA-256 of "example.com", as `printf example.com | sha256sum` gives it.
constexpr std::array<std::uint8_t, 32> ExampleHash{
    0xA3, 0x79, 0xA6, 0xF6, 0xEE, 0xAF, 0xB9, 0xA5, 0x5E, 0x37, 0x8C, 0x11, 0x80, 0x34, 0xE2, 0x75,
    0x1E, 0x68, 0x2F, 0xAB, 0x9F, 0x2D, 0x30, 0xAB, 0x13, 0xD2, 0x12, 0x55, 0x86, 0xCE, 0x19, 0x47};

TEST(AuthenticatorData, HoldsTheHashTheFlagsAndTheCountInThirtySevenBytes) {
  const Data data = authenticatorData("example.com", UserPresent | BackedUp, 0x01020304);
  ASSERT_EQ(data.size(), 37U);
  EXPECT_EQ(data.slice(0, 32), Data::copyOf(ExampleHash));
  EXPECT_EQ(data.slice(32, 5), Data::copyOf(std::array<std::uint8_t, 5>{0x11, 1, 2, 3, 4}));
}

TEST(AuthenticatorData, EndsWithTheAttestedCredentialData) {
  const Data attested = testBytes(5, 'a');
  EXPECT_EQ(readAuthenticatorData(authenticatorData("example.com", 0, 0, attested.bytes()))->rest,
            attested);
}

TEST(AttestedCredentialData, HoldsAnEmptyAaguidTheCredentialIDAndTheKey) {
  const SigningKey key = SigningKey::generate();
  const Data credentialID = testBytes(0x0102, 'c');
  const Data data = attestedCredentialData(credentialID.bytes(), key);
  EXPECT_EQ(data.slice(0, 16), testBytes(16, 0));
  EXPECT_EQ(data.slice(16, 2), Data::copyOf(std::array<std::uint8_t, 2>{1, 2}));
  EXPECT_EQ(data.slice(18, 0x0102), credentialID);
  const Point point = readCoseKey(data.slice(18 + 0x0102, data.size() - 18 - 0x0102)).value();
  EXPECT_EQ(point.x, key.publicX());
  EXPECT_EQ(point.y, key.publicY());
}

TEST(AttestationObject, IsOfTheFormatNoneInCanonicalOrder) {
  const Data statement = testBytes(300, 's');
  EXPECT_EQ(readAttestationObject(attestationObject(statement.bytes())), statement);
}

}  // namespace
}  // namespace korvan::lab::host
