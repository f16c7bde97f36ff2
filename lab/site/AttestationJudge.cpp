#include "lab/site/AttestationJudge.h"

#include <algorithm>
#include <array>
#include <ranges>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "lab/site/Cbor.h"
#include "lab/site/ValueWords.h"
#include "lab/support/Base64Url.h"

namespace korvan::lab {
namespace {

using Subject = Finding::Subject;
using Verdict = Finding::Verdict;

/// https://www.w3.org/TR/webauthn-3/#credential-id
constexpr std::size_t MinCredentialIDSize = 16;
constexpr std::size_t MaxCredentialIDSize = 1023;
constexpr std::size_t P256CoordinateSize = 32;
/// https://www.iana.org/assignments/cose/cose.xhtml#algorithms
constexpr std::int64_t Es256 = -7;

bool startsWith(const Data& bytes, std::string_view start) {
  return bytes.size() >= start.size() &&
         std::ranges::equal(bytes.bytes().first(start.size()), start, {}, {},
                            [](char each) { return static_cast<std::uint8_t>(each); });
}

/// Whether the member "authData" is text, which CBOR cannot be read with unless it is UTF-8.
bool hasTextForStatement(const Data& bytes) {
  constexpr std::string_view Name = "authData";
  constexpr unsigned TextType = 3;
  constexpr unsigned TypeShift = 5;
  const std::string_view all(reinterpret_cast<const char*>(bytes.bytes().data()), bytes.size());
  const std::size_t place = all.find(Name);
  return place != std::string_view::npos && place + Name.size() < bytes.size() &&
         bytes.bytes()[place + Name.size()] >> TypeShift == TextType;
}

std::string hintForNoObject(const Data& bytes, std::string_view relyingParty) {
  const Data hash = sha256(relyingParty);
  if (bytes.size() >= hash.size() && bytes.slice(0, hash.size()) == hash) {
    return R"(this is authData without its object: {"fmt", "attStmt", "authData"})";
  }
  if (hasTextForStatement(bytes)) {
    return "authData is a text string, not a byte string";
  }
  if (startsWith(bytes, "{")) {
    return "this is JSON; an attestation object is CBOR";
  }
  if (startsWith(bytes, "o2") || startsWith(bytes, "a3")) {
    return "this is the object's text in base64 or hexadecimal; send its bytes";
  }
  return R"(an attestation object is a CBOR map of "fmt", "attStmt" and "authData")";
}

Finding brokenObject(std::string words, std::string wanted, std::string got,
                     std::string hint = {}) {
  return failing(Subject::attestation, std::move(words),
                 {.wanted = std::move(wanted), .got = std::move(got), .hint = std::move(hint)});
}

FindingList judgeMembers(const cbor_item_t* object) {
  const auto* const format = cborMember(object, "fmt");
  const auto* const statement = cborMember(object, "attStmt");
  const auto* const data = cborMember(object, "authData");
  FindingList findings;
  if (!cborText(format)) {
    findings.push_back(
        brokenObject("the attestation object has no format", "\"fmt\", a text", wordsFor(format)));
  }
  if (statement == nullptr || !cbor_isa_map(statement)) {
    findings.push_back(brokenObject("the attestation object has no statement", "\"attStmt\", a map",
                                    wordsFor(statement)));
  } else if (cborText(format) == "none" && cbor_map_size(statement) != 0) {
    findings.push_back(brokenObject("the format \"none\" has a statement", "\"attStmt\": {}",
                                    wordsFor(statement)));
  } else if (cborText(format) && cborText(format) != "none" && cbor_map_size(statement) == 0) {
    findings.push_back(brokenObject("the format " + wordsFor(format) + " has an empty statement",
                                    "the members of that format's \"attStmt\"", "\"attStmt\": {}",
                                    "an attestation without a statement has the format \"none\""));
  }
  if (!cborBytes(data)) {
    findings.push_back(brokenObject(data == nullptr
                                        ? "the attestation object has no authenticator data"
                                        : "authData is not a byte string",
                                    "\"authData\", bytes", wordsFor(data)));
  }
  if (const std::size_t count = cborPairs(object).size(); findings.empty() && count != 3) {
    findings.push_back(brokenObject("the attestation object has more than it should",
                                    "fmt, attStmt and authData",
                                    "a map of " + std::to_string(count)));
  }
  return findings;
}

bool isOnCurve(const Data& x, const Data& y) {
  try {
    const auto key = PublicKey::fromPoint(x.bytes(), y.bytes());
    return true;
  } catch (const std::invalid_argument&) {
    return false;
  }
}

Data reversed(const Data& bytes) {
  return {std::vector<std::uint8_t>(bytes.bytes().rbegin(), bytes.bytes().rend())};
}

std::string hintForPoint(const Point& point) {
  using Row = std::pair<Point, std::string>;
  for (const auto& [other, hint] :
       {Row{{.x = reversed(point.x), .y = point.y}, "x is little-endian"},
        Row{{.x = point.x, .y = reversed(point.y)}, "y is little-endian"},
        Row{{.x = reversed(point.x), .y = reversed(point.y)}, "x and y are little-endian"},
        Row{{.x = point.y, .y = point.x}, "x and y are exchanged"}}) {
    if (isOnCurve(other.x, other.y)) {
      return hint;
    }
  }
  return {};
}

/// Whether the COSE_Key says of itself what it must.
/// https://www.w3.org/TR/webauthn-3/#sctn-encoded-credPubKey-examples
FindingList judgeLabels(const cbor_item_t* key) {
  struct Row {
    std::int64_t label;
    std::int64_t value;
    std::string_view name;
  };
  FindingList findings;
  for (const Row& row : {Row{.label = 1, .value = 2, .name = "kty (1), the kind of key: EC2"},
                         Row{.label = 3, .value = -7, .name = "alg (3): ES256"},
                         Row{.label = -1, .value = 1, .name = "crv (-1), the curve: P-256"}}) {
    const auto* const got = cborMember(key, row.label);
    if (cborInteger(got) != row.value) {
      findings.push_back(brokenObject(
          "the key is not for ES256 on P-256",
          std::string(row.name).append(", ").append(std::to_string(row.value)), wordsFor(got)));
    }
  }
  if (const std::size_t count = cborPairs(key).size(); findings.empty() && count != 5) {
    findings.push_back(brokenObject("the key has another number of entries",
                                    "the labels 1, 3, -1, -2 and -3",
                                    "a map of " + std::to_string(count)));
  }
  return findings;
}

FindingList judgePoint(const Data& coseKey) {
  const auto point = readCoseKey(coseKey);
  if (!point) {
    return {
        brokenObject("the key has no point", "x (-2) and y (-3), 32 bytes each", "neither or one")};
  }
  if (point->x.size() != P256CoordinateSize || point->y.size() != P256CoordinateSize) {
    return {brokenObject(
        "the key's coordinates have a wrong size", "32 bytes each, big-endian",
        std::to_string(point->x.size()) + " and " + std::to_string(point->y.size()) + " bytes",
        "keep leading zeros, and add no sign byte")};
  }
  if (!isOnCurve(point->x, point->y)) {
    return {brokenObject(
        "the key's point is not on P-256", "a point on the curve",
        "x " + hexadecimalOf(point->x.bytes()) + ", y " + hexadecimalOf(point->y.bytes()),
        hintForPoint(*point))};
  }
  return {};
}

FindingList judgeKey(const Data& coseKey) {
  const CborStart key = loadCbor(coseKey);
  if (!key.item || !cbor_isa_map(key.item.get())) {
    return {brokenObject("the public key is not a COSE_Key", "a CBOR map", wordsFor(coseKey),
                         startsWith(coseKey, "0")  // the tag of DER's sequence
                             ? "it looks like DER, such as a SubjectPublicKeyInfo"
                             : startsWith(coseKey, "\x04") ? "it looks like a bare point" : "")};
  }
  FindingList findings = judgeLabels(key.item.get());
  std::ranges::move(judgePoint(coseKey), std::back_inserter(findings));
  if (const auto flaw = flawOfCanonicalCbor(coseKey)) {
    findings.push_back(brokenObject("the key is not canonical CBOR", "1, 3, -1, -2, -3", *flaw));
  }
  if (findings.empty()) {
    findings.push_back(holding(Subject::attestation, "a public key on P-256 for ES256"));
  }
  return findings;
}

Finding judgeIdentifierSize(const Data& identifier) {
  std::string words = "a credential ID of " + std::to_string(identifier.size()) + " bytes";
  return identifier.size() >= MinCredentialIDSize && identifier.size() <= MaxCredentialIDSize
             ? holding(Subject::attestation, std::move(words))
             : brokenObject(std::move(words), "16 to 1,023 bytes", wordsFor(identifier));
}

FindingList judgeIdentifier(const Data& identifier, const std::optional<Data>& outside) {
  FindingList findings = {judgeIdentifierSize(identifier)};
  if (outside) {
    findings.push_back(identifier == *outside
                           ? holding(Subject::attestation, "the same credential ID outside")
                           : brokenObject("another credential ID outside",
                                          "credentialID as in the attestation object, " +
                                              base64Url(identifier.bytes()),
                                          base64Url(outside->bytes()),
                                          mistakeBetween(identifier, *outside)));
  }
  return findings;
}

Finding judgeExclusion(const Data& identifier, const std::vector<Data>& excluded) {
  return std::ranges::find(excluded, identifier) == excluded.end()
             ? holding(Subject::excluded, "not one of the excluded credentials")
             : failing(Subject::excluded, "one of the excluded credentials",
                       {.wanted = "a refusal with matchedExcludedCredential",
                        .got = base64Url(identifier.bytes()),
                        .hint = "excludedCredentials is ignored"});
}

std::string nameOfAlgorithm(std::int64_t algorithm) {
  switch (algorithm) {
    case Es256:
      return "ES256 (-7)";
    case -8:
      return "EdDSA (-8)";
    case -257:
      return "RS256 (-257)";
    default:
      return std::to_string(algorithm);
  }
}

Finding judgeAlgorithm(const Data& coseKey, const std::vector<std::int64_t>& accepted) {
  constexpr std::int64_t AlgorithmLabel = 3;
  const auto made = cborInteger(cborMember(loadCbor(coseKey).item.get(), AlgorithmLabel));
  if (!made) {
    return notChecked(Subject::algorithm, "the key's algorithm is not known");
  }
  const std::string name = nameOfAlgorithm(*made);
  if (std::ranges::find(accepted, *made) != accepted.end()) {
    return holding(Subject::algorithm, name + " is among the algorithms asked for");
  }
  std::string names;
  for (const std::int64_t each : accepted) {
    names.append(names.empty() ? "" : ", ").append(nameOfAlgorithm(each));
  }
  return failing(Subject::algorithm, name + " is not among the algorithms asked for",
                 {.wanted = names + ", or a refusal with failed",
                  .got = name,
                  .hint = "made " + name + " where only " + names +
                          " is accepted: supportedAlgorithms is ignored"});
}

}  // namespace

FindingList judgeAttestationObject(const Data& bytes, std::string_view relyingParty) {
  const CborStart object = loadCbor(bytes);
  if (!object.item || !cbor_isa_map(object.item.get())) {
    return {brokenObject("the attestation object is not a map of CBOR", "a CBOR map",
                         wordsFor(bytes), hintForNoObject(bytes, relyingParty))};
  }
  FindingList findings = judgeMembers(object.item.get());
  if (object.size != bytes.size()) {
    findings.push_back(brokenObject("something follows the attestation object", "nothing behind it",
                                    std::to_string(bytes.size() - object.size) + " bytes more"));
  }
  if (const auto flaw = flawOfCanonicalCbor(bytes)) {
    findings.push_back(brokenObject("the attestation object is not canonical CBOR",
                                    "fmt, attStmt, authData, in this order and in shortest form",
                                    *flaw, *flaw));
  }
  if (findings.empty()) {
    findings.push_back(holding(
        Subject::attestation,
        "an attestation object of the format " + wordsFor(cborMember(object.item.get(), "fmt"))));
  }
  return findings;
}

FindingList judgeAttestedCredential(const AttestedCredential& attested,
                                    const std::optional<Data>& credentialID,
                                    const RegistrationTerms& terms) {
  FindingList findings = {holding(
      Subject::attestation,
      "made by authenticators of the model (AAGUID) " + hexadecimalOf(attested.aaguid.bytes()))};
  const auto append = [&findings](const FindingList& more) {
    findings.insert(findings.end(), more.begin(), more.end());
  };
  append(judgeIdentifier(attested.credentialID, credentialID));
  append({judgeExclusion(attested.credentialID, terms.excludedCredentials)});
  append(judgeKey(attested.coseKey));
  append({judgeAlgorithm(attested.coseKey, terms.algorithms)});
  return findings;
}

std::optional<PublicKey> publicKeyIn(const Data& coseKey) {
  const auto point = readCoseKey(coseKey);
  try {
    return point ? std::optional(PublicKey::fromPoint(point->x.bytes(), point->y.bytes()))
                 : std::nullopt;
  } catch (const std::invalid_argument&) {
    return std::nullopt;
  }
}

}  // namespace korvan::lab
