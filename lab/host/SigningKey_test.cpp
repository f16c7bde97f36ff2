#include "lab/host/SigningKey.h"

#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "lab/host/RelyingParty_testing.h"

namespace korvan::lab::host {
namespace {

Data joined(std::initializer_list<Data> parts) {
  std::vector<std::uint8_t> bytes;
  for (const Data& part : parts) {
    bytes.insert(bytes.end(), part.bytes().begin(), part.bytes().end());
  }
  return Data::copyOf(bytes);
}

TEST(SigningKey, SignsWhatItsPublicKeyVerifies) {
  const SigningKey key = SigningKey::generate();
  const Data message = testBytes(100, 'm');
  const Data signature = key.sign(message.bytes());
  EXPECT_TRUE(verifies(key.subjectPublicKeyInfo(), signature, message));
  EXPECT_FALSE(verifies(key.subjectPublicKeyInfo(), signature, testBytes(100, 'n')));
  EXPECT_FALSE(verifies(SigningKey::generate().subjectPublicKeyInfo(), signature, message));
}

TEST(SigningKey, ComesBackFromItsPkcs8) {
  const SigningKey key = SigningKey::generate();
  const SigningKey copy = SigningKey::fromPkcs8(key.pkcs8().bytes());
  EXPECT_EQ(copy.subjectPublicKeyInfo(), key.subjectPublicKeyInfo());
  EXPECT_TRUE(verifies(key.subjectPublicKeyInfo(), copy.sign({}), Data()));
}

TEST(SigningKey, GivesTheCoordinatesOfItsPublicKey) {
  const SigningKey key = SigningKey::generate();
  const Data info = key.subjectPublicKeyInfo();
  // A SubjectPublicKeyInfo ends in the point: 0x04, x, y.
  const Data point = joined({testBytes(1, 4), key.publicX(), key.publicY()});
  EXPECT_EQ(info.slice(info.size() - 65, 65), point);
}

TEST(SigningKey, RefusesWhatIsNoP256PrivateKeyInPkcs8) {
  const Data good = SigningKey::generate().pkcs8();
  const Data longer = joined({good, testBytes(1, 0)});
  const std::vector<Data> rows{Data(),
                               testBytes(10, 0),
                               good.slice(0, good.size() - 1),
                               longer,
                               SigningKey::generate().subjectPublicKeyInfo(),
                               p384Pkcs8()};
  for (const Data& row : rows) {
    EXPECT_THROW(SigningKey::fromPkcs8(row.bytes()), std::invalid_argument) << row.size();
  }
}

}  // namespace
}  // namespace korvan::lab::host
