#include "lab/site/SignatureJudge.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <openssl/ecdsa.h>
#include <openssl/evp.h>

#include "lab/site/AttestationReader.h"
#include "lab/site/ValueWords.h"
#include "lab/support/Base64Url.h"

namespace korvan::lab {
namespace {

using Subject = Finding::Subject;

constexpr std::size_t ScalarSize = 32;

/// A value that may have been used, and the mistake that it would be; none if it is right.
template <typename Value>
struct Guess {
  Value value;
  std::string mistake;
};

/// What may have been signed.
struct Message {
  Data bytes;
  std::string mistake;
  const EVP_MD* hash = EVP_sha256();
};

Data joinedBytes(const Data& first, const Data& second) {
  std::vector<std::uint8_t> all(first.bytes().begin(), first.bytes().end());
  all.insert(all.end(), second.bytes().begin(), second.bytes().end());
  return {std::move(all)};
}

/// Authenticator data with another relying party's hash.
Data withHashOf(const std::string& text, const Data& statement) {
  return joinedBytes(sha256(text), statement.slice(ScalarSize, statement.size() - ScalarSize));
}

/// Authenticator data with the counter that it had before, or will have next.
Data withCountChangedBy(int change, const Data& statement) {
  constexpr std::size_t CountOffset = 33;
  std::vector<std::uint8_t> bytes(statement.bytes().begin(), statement.bytes().end());
  std::uint32_t count = readAuthenticatorData(statement)->signCount;
  count += static_cast<std::uint32_t>(change);
  for (std::size_t place = 4; place > 0; --place, count >>= 8U) {
    bytes[CountOffset + place - 1] = static_cast<std::uint8_t>(count);
  }
  return {std::move(bytes)};
}

std::vector<Message> guessedMessages(const Data& statement, const RequestTerms& terms) {
  const Data& hash = terms.clientDataHash;
  const Data right = joinedBytes(statement, hash);
  std::vector<Message> guesses = {
      {.bytes = right, .mistake = ""},
      {.bytes = right, .mistake = "hashed with SHA-1; ES256 is with SHA-256", .hash = EVP_sha1()},
      {.bytes = right,
       .mistake = "hashed with SHA-384; ES256 is with SHA-256",
       .hash = EVP_sha384()},
      {.bytes = right,
       .mistake = "hashed with SHA-512; ES256 is with SHA-256",
       .hash = EVP_sha512()},
      {.bytes = hash, .mistake = "over clientDataHash alone; authenticatorData comes before it"},
      {.bytes = statement, .mistake = "over authenticatorData alone; clientDataHash follows it"},
      {.bytes = joinedBytes(hash, statement),
       .mistake = "over clientDataHash before authenticatorData"},
      {.bytes = sha256(right.bytes()), .mistake = "hashed twice: ES256 hashes the message itself"},
      {.bytes = joinedBytes(statement, sha256(hash.bytes())),
       .mistake = "over the hash of clientDataHash, which is a hash already"}};
  if (readAuthenticatorData(statement)) {
    const std::string origin = "https://" + terms.relyingParty;
    guesses.push_back({joinedBytes(withHashOf(origin, statement), hash),
                       "over authenticator data with the hash of " + origin});
    guesses.push_back({joinedBytes(withCountChangedBy(-1, statement), hash),
                       "over authenticator data with the counter before it was raised"});
    guesses.push_back({joinedBytes(withCountChangedBy(1, statement), hash),
                       "over authenticator data with a higher counter than was sent"});
  }
  return guesses;
}

/// Two numbers, one after the other, as a DER Ecdsa-Sig-Value.
std::optional<Data> asDer(const Data& raw) {
  if (raw.size() != 2 * ScalarSize) {
    return std::nullopt;
  }
  const std::unique_ptr<ECDSA_SIG, decltype(&ECDSA_SIG_free)> value(ECDSA_SIG_new(),
                                                                    ECDSA_SIG_free);
  const auto* const bytes = raw.bytes().data();
  ECDSA_SIG_set0(value.get(), BN_bin2bn(bytes, ScalarSize, nullptr),
                 BN_bin2bn(bytes + ScalarSize, ScalarSize, nullptr));
  unsigned char* der = nullptr;
  const int size = i2d_ECDSA_SIG(value.get(), &der);
  Data encoded = Data::copyOf({der, static_cast<std::size_t>(size)});
  OPENSSL_free(der);
  return encoded;
}

/// The two numbers of 32 bytes in an Ecdsa-Sig-Value that may have too few or too many zeros before
/// them.
std::optional<Data> numbersIn(const Data& signature) {
  constexpr std::uint8_t Integer = 0x02;
  std::vector<std::uint8_t> numbers;
  auto left = signature.bytes();
  left = left.subspan(std::min<std::size_t>(left.size(), 2));
  while (left.size() >= 2 && left[0] == Integer && left.size() - 2 >= left[1]) {
    auto number = left.subspan(2, left[1]);
    left = left.subspan(2 + number.size());
    while (!number.empty() && number.front() == 0) {
      number = number.subspan(1);
    }
    if (number.size() > ScalarSize) {
      return std::nullopt;
    }
    numbers.insert(numbers.end(), ScalarSize - number.size(), 0);
    numbers.insert(numbers.end(), number.begin(), number.end());
  }
  return Data(std::move(numbers));
}

std::vector<Guess<Data>> guessedSignatures(const Data& signature) {
  std::vector<Guess<Data>> guesses = {{.value = signature, .mistake = ""}};
  if (const auto der = asDer(signature)) {
    guesses.push_back({*der, "raw r‖s of 64 bytes; wanted is a DER Ecdsa-Sig-Value"});
  }
  const auto numbers = numbersIn(signature);
  if (const auto der = numbers ? asDer(*numbers) : std::nullopt) {
    guesses.push_back({*der,
                       "with its integers written as DER has them: a zero before a first bit that "
                       "is set, and no other"});
  }
  const std::string_view text(reinterpret_cast<const char*>(signature.bytes().data()),
                              signature.size());
  if (const auto written = bytesWrittenAs(text)) {
    guesses.push_back({written->bytes, std::string(written->writing) + " text; send the bytes"});
  }
  return guesses;
}

std::vector<Guess<PublicKey>> guessedKeys(const AssertionTerms& terms) {
  std::vector<Guess<PublicKey>> guesses = {{.value = terms.passkey->key, .mistake = ""}};
  for (const RegisteredPasskey& other : terms.otherPasskeys) {
    const Data identifier = other.credentialID.value_or(Data());
    guesses.push_back(
        {other.key, "with the key of another passkey, " + base64Url(identifier.bytes())});
  }
  return guesses;
}

void mention(std::string& mistakes, const std::string& mistake) {
  if (!mistake.empty()) {
    mistakes.append(mistakes.empty() ? "" : "; ").append(mistake);
  }
}

/// The mistakes with which the signature verifies: none if it does as it is. Nullopt if it does not
/// with any.
std::optional<std::string> mistakesIn(const Data& signature, const Data& statement,
                                      const AssertionTerms& terms) {
  const auto messages = guessedMessages(statement, terms.request);
  const auto signatures = guessedSignatures(signature);
  for (const auto& key : guessedKeys(terms)) {
    for (const auto& message : messages) {
      for (const auto& value : signatures) {
        if (key.value.verifies(message.bytes.bytes(), value.value.bytes(), message.hash)) {
          std::string mistakes = value.mistake;
          mention(mistakes, message.mistake);
          mention(mistakes, key.mistake);
          return mistakes;
        }
      }
    }
  }
  return std::nullopt;
}

}  // namespace

Finding judgeSignature(const Data& signature, const Data& authenticatorData,
                       const AssertionTerms& terms) {
  const auto mistakes = mistakesIn(signature, authenticatorData, terms);
  if (mistakes && mistakes->empty()) {
    return holding(Subject::signature, "signed by the registered passkey (ES256)");
  }
  const std::string tried =
      "none of the usual mistakes explains it; was it made with the passkey's key?";
  return failing(Subject::signature, "not signed by the registered passkey",
                 {.wanted = "ES256 over authenticatorData and clientDataHash, in DER",
                  .got = wordsFor(signature),
                  .hint = mistakes ? "it verifies " + *mistakes : tried});
}

bool haveSameNonce(const Data& left, const Data& right) {
  const auto pointOf = [](const Data& signature) {
    const Data numbers = numbersIn(signature).value_or(Data());
    return numbers.slice(0, std::min(numbers.size(), ScalarSize));
  };
  // The first number is a coordinate of the nonce's point.
  return !left.empty() && pointOf(left) == pointOf(right);
}

}  // namespace korvan::lab
