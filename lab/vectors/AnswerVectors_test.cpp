#include "lab/vectors/AnswerVectors.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "lab/site/PublicKey.h"
#include "lab/vectors/SamplePasskey.h"

namespace korvan::lab::vectors {
namespace {

using Bytes = std::vector<std::uint8_t>;

ProviderMessage answer(std::string_view name) {
  const auto vectors = answerVectors();
  return std::ranges::find(vectors, name, &MessageVector::name)->message;
}

/// The bytes of the message's value.
Bytes bytes(const ProviderMessage& message, std::string_view key) {
  const auto data = dataForKey(message, key).value();
  return {data.bytes().begin(), data.bytes().end()};
}

/// The 32 bytes after `mark`, which occurs once.
Bytes coordinateAfter(const Bytes& mark, const Bytes& bytes) {
  const auto found = std::ranges::search(bytes, mark);
  return {found.end(), found.end() + 32};
}

/// The key in an attestation object, whose coordinates are the last two entries of a COSE_Key:
/// https://www.rfc-editor.org/rfc/rfc9053#section-7.1.1
lab::PublicKey keyIn(const Bytes& attestationObject) {
  // A SubjectPublicKeyInfo for P-256 up to its point, which is not compressed.
  Bytes der = {0x30, 0x59, 0x30, 0x13, 0x06, 0x07, 0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x02, 0x01, 0x06,
               0x08, 0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x03, 0x01, 0x07, 0x03, 0x42, 0x00, 0x04};
  for (const Bytes& mark : {Bytes{0x21, 0x58, 0x20}, Bytes{0x22, 0x58, 0x20}}) {
    const Bytes coordinate = coordinateAfter(mark, attestationObject);
    der.insert(der.end(), coordinate.begin(), coordinate.end());
  }
  return lab::PublicKey::fromDer(der);
}

TEST(AnswerVectorsTest, TheAssertionIsSignedByTheRegisteredPasskey) {
  const auto registration = answer("answer-registration");
  const auto assertion = answer("answer-assertion");
  Bytes message = bytes(assertion, "authenticatorData");
  const Bytes hash = bytes(assertion, "clientDataHash");
  message.insert(message.end(), hash.begin(), hash.end());
  EXPECT_TRUE(keyIn(bytes(registration, "attestationObject"))
                  .verifies(message, bytes(assertion, "signature")));
}

TEST(AnswerVectorsTest, TheAttestationObjectHoldsTheCredentialID) {
  const auto registration = answer("answer-registration");
  const Bytes attestationObject = bytes(registration, "attestationObject");
  const Bytes credential = bytes(registration, "credentialID");
  EXPECT_FALSE(std::ranges::search(attestationObject, credential).empty());
  EXPECT_EQ(credential, bytes(answer("answer-assertion"), "credentialID"));
}

}  // namespace
}  // namespace korvan::lab::vectors
