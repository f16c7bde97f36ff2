#include "lab/site/PublicKey.h"

#include <cstdint>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include "lab/host/SigningKey.h"

namespace korvan::lab {
namespace {

const std::vector<std::uint8_t> Message = {1, 2, 3};

/// Made with `openssl ecparam -genkey -name prime256v1 | openssl ec -pubout`.
constexpr std::string_view Pem = R"(-----BEGIN PUBLIC KEY-----
MFkwEwYHKoZIzj0CAQYIKoZIzj0DAQcDQgAEvzBe0rujJ3POxC+OdSLsDGpTSjF5
4ymjJtc9VrL3SCCot6/sjCwG2LMHc1l4l5W8O57ikZkTgkrByLeyXMKqHg==
-----END PUBLIC KEY-----
)";

TEST(PublicKey, AcceptsTheSignatureOfItsKeyAndNoOther) {
  const auto key = host::SigningKey::generate();
  const auto signature = key.sign(Message);
  const auto publicKey = PublicKey::fromDer(key.subjectPublicKeyInfo().bytes());
  EXPECT_TRUE(publicKey.verifies(Message, signature.bytes()));
  const auto stranger = host::SigningKey::generate();
  EXPECT_FALSE(publicKey.verifies(Message, stranger.sign(Message).bytes()));
}

TEST(PublicKey, RefusesAnotherMessageAndABrokenSignature) {
  const auto key = host::SigningKey::generate();
  const auto signature = key.sign(Message);
  const auto publicKey = PublicKey::fromDer(key.subjectPublicKeyInfo().bytes());
  const std::vector<std::uint8_t> other = {1, 2, 4};
  EXPECT_FALSE(publicKey.verifies(other, signature.bytes()));
  EXPECT_FALSE(publicKey.verifies(Message, {}));
  EXPECT_FALSE(publicKey.verifies(Message, signature.bytes().first(signature.size() - 1)));
}

TEST(PublicKey, IsReadFromPem) { EXPECT_NO_THROW(PublicKey::fromPem(Pem)); }

TEST(PublicKey, IsWrittenAsItIsRead) {
  EXPECT_EQ(PublicKey::fromPem(Pem).pem(), Pem);
  const Data der = PublicKey::fromPem(Pem).der();
  EXPECT_EQ(PublicKey::fromDer(der.bytes()).pem(), Pem);
}

TEST(PublicKey, IsMadeFromItsPoint) {
  const auto key = host::SigningKey::generate();
  const auto publicKey = PublicKey::fromPoint(key.publicX().bytes(), key.publicY().bytes());
  EXPECT_TRUE(publicKey.verifies(Message, key.sign(Message).bytes()));
}

TEST(PublicKey, RefusesAPointThatIsNotOnTheCurve) {
  const auto key = host::SigningKey::generate();
  const Data x = key.publicX();
  EXPECT_THROW(PublicKey::fromPoint(x.bytes(), x.bytes()), std::invalid_argument);
  EXPECT_THROW(PublicKey::fromPoint(x.bytes(), key.publicY().bytes().first(31)),
               std::invalid_argument);
}

TEST(PublicKey, RefusesWhatIsNotAPublicKey) {
  const std::vector<std::uint8_t> garbage = {0x30, 0x03, 0x02, 0x01, 0x00};
  EXPECT_THROW(PublicKey::fromDer(garbage), std::invalid_argument);
  EXPECT_THROW(PublicKey::fromDer({}), std::invalid_argument);
  EXPECT_THROW(PublicKey::fromPem("no key"), std::invalid_argument);
  EXPECT_THROW(PublicKey::fromPem(""), std::invalid_argument);
}

TEST(PublicKey, RefusesAKeyOnAnotherCurve) {
  const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen("P-384"), EVP_PKEY_free);
  std::uint8_t* der = nullptr;
  const int size = i2d_PUBKEY(key.get(), &der);
  ASSERT_GT(size, 0);
  const std::vector<std::uint8_t> bytes(der, der + size);
  OPENSSL_free(der);
  EXPECT_THROW(PublicKey::fromDer(bytes), std::invalid_argument);
}

}  // namespace
}  // namespace korvan::lab
