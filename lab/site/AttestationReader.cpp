#include "lab/site/AttestationReader.h"

#include "lab/site/Cbor.h"

namespace korvan::lab {
namespace {

constexpr std::size_t RelyingPartyHashSize = 32;
constexpr std::size_t StatementSize = RelyingPartyHashSize + 1 + 4;
constexpr std::size_t AaguidSize = 16;

Data tail(const Data& bytes, std::size_t offset) {
  return bytes.slice(offset, bytes.size() - offset);
}

}  // namespace

std::optional<AuthenticatorStatement> readAuthenticatorData(const Data& bytes) {
  if (bytes.size() < StatementSize) {
    return std::nullopt;
  }
  std::uint32_t signCount = 0;
  for (const std::uint8_t byte : bytes.bytes().subspan(RelyingPartyHashSize + 1, 4)) {
    signCount = signCount << 8U | byte;
  }
  return AuthenticatorStatement{.relyingPartyHash = bytes.slice(0, RelyingPartyHashSize),
                                .flags = bytes.bytes()[RelyingPartyHashSize],
                                .signCount = signCount,
                                .rest = tail(bytes, StatementSize)};
}

std::optional<AttestedCredential> readAttestedCredentialData(const Data& bytes) {
  if (bytes.size() < AaguidSize + 2) {
    return std::nullopt;
  }
  const std::size_t size =
      std::size_t{bytes.bytes()[AaguidSize]} << 8U | bytes.bytes()[AaguidSize + 1];
  const Data rest = tail(bytes, AaguidSize + 2);
  if (rest.size() < size) {
    return std::nullopt;
  }
  const Data keyAndRest = tail(rest, size);
  const CborStart key = loadCbor(keyAndRest);
  const std::size_t keySize = key.item ? key.size : keyAndRest.size();
  return AttestedCredential{.aaguid = bytes.slice(0, AaguidSize),
                            .credentialID = rest.slice(0, size),
                            .coseKey = keyAndRest.slice(0, keySize),
                            .rest = tail(keyAndRest, keySize)};
}

std::optional<Point> readCoseKey(const Data& coseKey) {
  constexpr std::int64_t XLabel = -2;
  constexpr std::int64_t YLabel = -3;
  const CborStart key = loadCbor(coseKey);
  const auto x = cborBytes(cborMember(key.item.get(), XLabel));
  const auto y = cborBytes(cborMember(key.item.get(), YLabel));
  return x && y ? std::optional(Point{.x = *x, .y = *y}) : std::nullopt;
}

std::optional<Data> readAttestationObject(const Data& bytes) {
  return cborBytes(cborMember(loadCbor(bytes).item.get(), "authData"));
}

}  // namespace korvan::lab
