#include "lab/host/SigningKey.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include "lab/site/PublicKey.h"
#include "lab/support/Bytes_testing.h"

namespace korvan::lab::host {
namespace {

bool verifies(const SigningKey& key, const Data& signature, const Data& message) {
  return PublicKey::fromDer(key.subjectPublicKeyInfo().bytes())
      .verifies(message.bytes(), signature.bytes());
}

/// A private key of the wrong curve, in PKCS #8.
Data p384Pkcs8() {
  const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen("P-384"),
                                                                &EVP_PKEY_free);
  const std::unique_ptr<PKCS8_PRIV_KEY_INFO, decltype(&PKCS8_PRIV_KEY_INFO_free)> info(
      EVP_PKEY2PKCS8(key.get()), &PKCS8_PRIV_KEY_INFO_free);
  std::vector<std::uint8_t> der(
      static_cast<std::size_t>(i2d_PKCS8_PRIV_KEY_INFO(info.get(), nullptr)));
  std::uint8_t* position = der.data();
  i2d_PKCS8_PRIV_KEY_INFO(info.get(), &position);
  return Data::copyOf(der);
}

TEST(SigningKey, SignsWhatItsPublicKeyVerifies) {
  const SigningKey key = SigningKey::generate();
  const Data message = testBytes(100, 'm');
  const Data signature = key.sign(message.bytes());
  EXPECT_TRUE(verifies(key, signature, message));
  EXPECT_FALSE(verifies(key, signature, testBytes(100, 'n')));
  EXPECT_FALSE(verifies(SigningKey::generate(), signature, message));
}

TEST(SigningKey, ComesBackFromItsPkcs8) {
  const SigningKey key = SigningKey::generate();
  const SigningKey copy = SigningKey::fromPkcs8(key.pkcs8().bytes());
  EXPECT_EQ(copy.subjectPublicKeyInfo(), key.subjectPublicKeyInfo());
  EXPECT_TRUE(verifies(key, copy.sign({}), Data()));
}

TEST(SigningKey, GivesTheCoordinatesOfItsPublicKey) {
  const SigningKey key = SigningKey::generate();
  const Data info = key.subjectPublicKeyInfo();
  // A SubjectPublicKeyInfo ends in the point: 0x04, x, y.
  const Data point = joined({testBytes(1, 4), key.publicX(), key.publicY()});
  EXPECT_EQ(info.slice(info.size() - 65, 65), point);
}

TEST(SigningKey, RefusesWhatIsNotAP256PrivateKeyInPkcs8) {
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
