#include "lab/vectors/AnswerVectors.h"

#include <algorithm>
#include <string_view>

#include <gtest/gtest.h>

#include "lab/site/AttestationReader.h"
#include "lab/site/PublicKey.h"
#include "lab/support/Bytes_testing.h"

namespace korvan::lab::vectors {
namespace {

/// The value of the answer's message.
Data dataIn(std::string_view answer, std::string_view key) {
  const auto vectors = answerVectors();
  return dataForKey(std::ranges::find(vectors, answer, &MessageVector::name)->message, key).value();
}

TEST(AnswerVectorsTest, TheAssertionIsSignedByTheRegisteredPasskey) {
  const auto statement = readAuthenticatorData(
      readAttestationObject(dataIn("answer-registration", "attestationObject")).value());
  const auto registered = readAttestedCredentialData(statement->rest);
  EXPECT_EQ(registered->credentialID, dataIn("answer-registration", "credentialID"));
  EXPECT_EQ(registered->credentialID, dataIn("answer-assertion", "credentialID"));
  const auto point = readCoseKey(registered->coseKey);
  EXPECT_TRUE(PublicKey::fromPoint(point->x.bytes(), point->y.bytes())
                  .verifies(joined({dataIn("answer-assertion", "authenticatorData"),
                                    dataIn("answer-assertion", "clientDataHash")})
                                .bytes(),
                            dataIn("answer-assertion", "signature").bytes()));
}

}  // namespace
}  // namespace korvan::lab::vectors
