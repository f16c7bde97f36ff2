#include "lab/site/AnswerJudge.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include "lab/host/AuthenticatorData.h"
#include "lab/host/SigningKey.h"
#include "lab/site/ValueWords.h"
#include "lab/support/AuthenticatorFlags.h"
#include "lab/support/Base64Url.h"
#include "lab/support/Bytes_testing.h"

namespace korvan::lab {
namespace {

using Subject = Finding::Subject;
using Verdict = Finding::Verdict;
using testing::HasSubstr;
namespace key = provider_message_key;

using Subjects = std::set<Subject>;

Subjects subjectsWith(Verdict verdict, const FindingList& findings) {
  Subjects subjects;
  for (const Finding& finding : findings) {
    if (finding.verdict == verdict) {
      subjects.insert(finding.subject);
    }
  }
  return subjects;
}

/// All that a person reads below the failures.
std::string detailsOf(const FindingList& findings) {
  std::string details;
  for (const Finding& finding : findings) {
    if (finding.verdict == Verdict::fails || finding.verdict == Verdict::warns) {
      details += finding.words + "\nwanted " + finding.wanted + "\ngot " + finding.got + "\nhint " +
                 finding.hint + "\n";
    }
  }
  return details;
}

std::vector<std::uint8_t> vectorOf(const Data& data) {
  return {data.bytes().begin(), data.bytes().end()};
}

/// `data` with the byte at `place` changed.
Data with(const Data& data, std::size_t place, std::uint8_t value) {
  auto changed = vectorOf(data);
  changed.at(place) = value;
  return Data::copyOf(changed);
}

Data utf8(std::string_view text) {
  return Data::copyOf({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

/// A passkey, a request for a sign-in with it, and a host that answers it.
class AssertionJudge : public testing::Test {
 protected:
  /// What the host states and signs.
  [[nodiscard]] ProviderMessage answerStating(const Data& statement,
                                              const Data& signedMessage) const {
    return {{key::ok, true},
            {key::userHandle, userHandle_},
            {key::relyingPartyIdentifier, "example.com"},
            {key::signature, key_.sign(signedMessage.bytes())},
            {key::clientDataHash, hash_},
            {key::authenticatorData, statement},
            {key::credentialID, credentialID_}};
  }
  [[nodiscard]] ProviderMessage answerStating(const Data& statement) const {
    return answerStating(statement, joined({statement, hash_}));
  }
  [[nodiscard]] ProviderMessage answer() const { return answerStating(statement_); }

  /// The sound answer with another value; null removes the key.
  [[nodiscard]] ProviderMessage answerWithKey(std::string_view key,
                                              const PropertyListValue& value) const {
    ProviderMessage changed = answer();
    changed.erase(Text(key));
    if (!value.isNull()) {
      changed.insert_or_assign(Text(key), value);
    }
    return changed;
  }

  void expectFlaw(const ProviderMessage& wrong, const Subjects& subjects,
                  std::string_view detail) const {
    const FindingList findings = judgeAssertion(wrong, terms_);
    EXPECT_EQ(subjectsWith(Verdict::fails, findings), subjects) << detailsOf(findings);
    EXPECT_THAT(detailsOf(findings), HasSubstr(detail));
    EXPECT_FALSE(isVerified(findings));
  }

  host::SigningKey key_ = host::SigningKey::generate();
  host::SigningKey otherKey_ = host::SigningKey::generate();
  Data hash_ = testBytes(32, 'h');
  Data userHandle_ = testBytes(16, 'u');
  Data credentialID_ = testBytes(32, 'c');
  Data statement_ = host::authenticatorData("example.com", UserPresent | UserVerified, 6);
  AssertionTerms terms_{
      .request = {.relyingParty = "example.com",
                  .clientDataHash = hash_,
                  .verificationRequired = true},
      .credentialID = credentialID_,
      .passkey = RegisteredPasskey{.key = PublicKey::fromDer(key_.subjectPublicKeyInfo().bytes()),
                                   .credentialID = credentialID_,
                                   .userHandle = userHandle_,
                                   .signCount = 5,
                                   .relyingParty = "example.com"},
      .otherPasskeys = {
          RegisteredPasskey{.key = PublicKey::fromDer(otherKey_.subjectPublicKeyInfo().bytes()),
                            .credentialID = testBytes(32, 'o'),
                            .userHandle = userHandle_}}};
};

TEST_F(AssertionJudge, FindsNothingWrongWithASoundAnswer) {
  const FindingList findings = judgeAssertion(answer(), terms_);
  EXPECT_TRUE(isVerified(findings)) << detailsOf(findings);
  EXPECT_EQ(subjectsWith(Verdict::holds, findings),
            (Subjects{Subject::kinds, Subject::echoes, Subject::relyingParty, Subject::credential,
                      Subject::userHandle, Subject::authenticatorData, Subject::flags,
                      Subject::verification, Subject::counter, Subject::signature}));
}

TEST_F(AssertionJudge, NamesEachMissingAndMistypedKey) {
  const std::string hashText = base64Url(hash_.bytes());
  expectFlaw(answerWithKey(key::userHandle, {}), {Subject::kinds}, "userHandle is missing");
  expectFlaw(answerWithKey(key::relyingPartyIdentifier, {}), {Subject::kinds},
             "relyingPartyIdentifier is missing");
  expectFlaw(answerWithKey(key::relyingPartyIdentifier, utf8("example.com")), {Subject::kinds},
             "a text is a string, not its bytes");
  expectFlaw(answerWithKey(key::clientDataHash, hashText), {Subject::kinds},
             "the base64url text of the right bytes");
  expectFlaw(answerWithKey(key::clientDataHash, hashText + "="), {Subject::kinds},
             "the base64 text of the right bytes");
  expectFlaw(answerWithKey(key::clientDataHash, hexadecimalOf(hash_.bytes())), {Subject::kinds},
             "the hexadecimal text of the right bytes");
  expectFlaw(answerWithKey(key::userHandle, base64Url(userHandle_.bytes())), {Subject::kinds},
             "the base64url text of the right bytes");
  expectFlaw(answerWithKey(key::signature, "MEUCIQ=="), {Subject::kinds}, "looks like base64");
  expectFlaw(answerWithKey(key::signature, PropertyListValue::Array{48, 69}), {Subject::kinds},
             "not an array of integers");
  expectFlaw(answerWithKey(key::authenticatorData, 7), {Subject::kinds},
             "authenticatorData is an integer, not data");
}

TEST_F(AssertionJudge, FindsAKeyThatIsSpelledDifferently) {
  ProviderMessage wrong = answerWithKey(key::credentialID, {});
  wrong.insert_or_assign("credential_id", credentialID_);
  expectFlaw(wrong, {Subject::kinds}, "there is \"credential_id\": keys are spelled exactly");
}

TEST_F(AssertionJudge, GoesOnAfterAMissingKey) {
  const FindingList findings = judgeAssertion(answerWithKey(key::authenticatorData, {}), terms_);
  EXPECT_EQ(subjectsWith(Verdict::fails, findings), Subjects{Subject::kinds});
  EXPECT_EQ(subjectsWith(Verdict::notChecked, findings),
            (Subjects{Subject::authenticatorData, Subject::verification, Subject::counter,
                      Subject::signature}));
  EXPECT_EQ(findingsAbout(Subject::userHandle, findings).front().verdict, Verdict::holds);
}

TEST_F(AssertionJudge, FindsOutHowAnEchoWentWrong) {
  expectFlaw(answerWithKey(key::relyingPartyIdentifier, "https://example.com"), {Subject::echoes},
             "that is the origin");
  expectFlaw(answerWithKey(key::relyingPartyIdentifier, ""), {Subject::echoes}, "it is empty");
  expectFlaw(answerWithKey(key::relyingPartyIdentifier, "a\x1b[2Kb"), {Subject::echoes},
             "got \"a\\u{1B}[2Kb\"");
  expectFlaw(answerWithKey(key::clientDataHash, sha256(hash_.bytes())), {Subject::echoes},
             "hashed once too often");
  expectFlaw(answerWithKey(key::clientDataHash, utf8(base64Url(hash_.bytes()))), {Subject::echoes},
             "written as base64url text");
  expectFlaw(answerWithKey(key::clientDataHash, hash_.slice(0, 31)), {Subject::echoes},
             "cut short");
  expectFlaw(answerWithKey(key::clientDataHash, Data()), {Subject::echoes}, "it is empty");
}

TEST_F(AssertionJudge, TellsAnotherPasskeyFromTheOneThatWasAskedFor) {
  expectFlaw(answerWithKey(key::credentialID, testBytes(32, 'o')), {Subject::credential},
             "credentialID is ignored");
  terms_.allowedCredentials = {testBytes(32, 'a')};
  expectFlaw(answer(), {Subject::allowed}, "allowedCredentials is ignored");
  terms_.allowedCredentials.push_back(credentialID_);
  EXPECT_TRUE(isVerified(judgeAssertion(answer(), terms_)));
}

TEST_F(AssertionJudge, TellsAnotherUserFromTheRegisteredOne) {
  expectFlaw(answerWithKey(key::userHandle, testBytes(16, 'x')), {Subject::userHandle},
             "of another user than the registered one");
  expectFlaw(answerWithKey(key::userHandle, utf8(base64Url(userHandle_.bytes()))),
             {Subject::userHandle}, "written as base64url text");
}

TEST_F(AssertionJudge, RefusesThePasskeyOfAnotherRelyingParty) {
  terms_.passkey->relyingParty = "example.org";
  expectFlaw(answer(), {Subject::relyingParty},
             "signed for a relying party that the passkey does not belong to");
}

TEST_F(AssertionJudge, ReadsTheAuthenticatorDataByteByByte) {
  const auto flags = [](unsigned value) {
    return host::authenticatorData("example.com", static_cast<std::uint8_t>(value), 6);
  };
  constexpr unsigned Sound = UserPresent | UserVerified;
  expectFlaw(answerStating(host::authenticatorData("https://example.com", Sound, 6)),
             {Subject::authenticatorData}, "the hash is that of the origin https://example.com");
  expectFlaw(answerStating(host::authenticatorData("", Sound, 6)), {Subject::authenticatorData},
             "of an empty text");
  expectFlaw(answerStating(flags(UserVerified)), {Subject::flags}, "no user was present");
  expectFlaw(answerStating(flags(UserPresent)), {Subject::verification}, "got UP (0x01)");
  expectFlaw(answerStating(flags(Sound | BackedUp)), {Subject::flags}, "BS (0x10) only with BE");
  expectFlaw(answerStating(flags(Sound | 0x02)), {Subject::flags}, "UP, reserved 0x02, UV (0x07)");
  expectFlaw(answerStating(flags(Sound | 0x20)), {Subject::flags}, "reserved 0x20");
  expectFlaw(answerStating(flags(Sound | AttestedCredentialDataIncluded)),
             {Subject::authenticatorData}, "the flag AT is set in an assertion");
  expectFlaw(answerStating(flags(Sound | ExtensionDataIncluded)), {Subject::authenticatorData},
             "the flag ED announces extensions, and none follow");
  expectFlaw(answerStating(joined({statement_, bytes({0})})), {Subject::authenticatorData},
             "too long");
  expectFlaw(answerStating(statement_.slice(0, 36)), {Subject::authenticatorData}, "cut short");
  expectFlaw(answerStating(sha256("example.com")), {Subject::authenticatorData},
             "the relying party's hash alone");
  EXPECT_TRUE(isVerified(judgeAssertion(
      answerStating(joined({flags(Sound | ExtensionDataIncluded), bytes({0xA0})})), terms_)));
}

TEST_F(AssertionJudge, WantsTheEligibilityForBackupsThatWasRegistered) {
  const auto stating = [this](unsigned flags) {
    return answerStating(host::authenticatorData(
        "example.com", static_cast<std::uint8_t>(UserPresent | UserVerified | flags), 6));
  };
  terms_.passkey->backupEligible = true;
  EXPECT_TRUE(isVerified(judgeAssertion(stating(BackupEligible), terms_)));
  EXPECT_TRUE(isVerified(judgeAssertion(stating(BackupEligible | BackedUp), terms_)));
  expectFlaw(stating(0), {Subject::flags}, "BE is not as it was when the passkey was registered");
  terms_.passkey->backupEligible = false;
  EXPECT_TRUE(isVerified(judgeAssertion(stating(0), terms_)));
  expectFlaw(stating(BackupEligible), {Subject::flags}, "wanted BE (0x08) clear");
}

TEST_F(AssertionJudge, WantsACounterThatGrowsOrStaysZero) {
  const auto counting = [this](std::uint32_t count) {
    return answerStating(host::authenticatorData("example.com", UserPresent | UserVerified, count));
  };
  expectFlaw(counting(5), {Subject::counter}, "sign count 5, after 5");
  expectFlaw(counting(0), {Subject::counter}, "sign count 0, after 5");
  expectFlaw(counting(0x0600'0000), {Subject::counter},
             "little-endian: with its bytes reversed it is 6");
  terms_.passkey->signCount = 0;
  EXPECT_TRUE(isVerified(judgeAssertion(counting(0), terms_)));
  EXPECT_TRUE(isVerified(judgeAssertion(counting(1), terms_)));
}

/// A signature as two numbers of 32 bytes.
Data rawOf(const Data& der) {
  const std::uint8_t* next = der.bytes().data();
  ECDSA_SIG* const value = d2i_ECDSA_SIG(nullptr, &next, static_cast<long>(der.size()));
  std::vector<std::uint8_t> raw(64);
  BN_bn2binpad(ECDSA_SIG_get0_r(value), raw.data(), 32);
  BN_bn2binpad(ECDSA_SIG_get0_s(value), raw.data() + 32, 32);
  ECDSA_SIG_free(value);
  return Data::copyOf(raw);
}

Data signedWithSha384(const host::SigningKey& key, const Data& message) {
  const Data secret = key.pkcs8();
  const std::uint8_t* next = secret.bytes().data();
  const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> loaded(
      d2i_AutoPrivateKey(nullptr, &next, static_cast<long>(secret.size())), EVP_PKEY_free);
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                        EVP_MD_CTX_free);
  std::vector<std::uint8_t> signature(128);
  std::size_t size = signature.size();
  EVP_DigestSignInit(context.get(), nullptr, EVP_sha384(), nullptr, loaded.get());
  EVP_DigestSign(context.get(), signature.data(), &size, message.bytes().data(), message.size());
  signature.resize(size);
  return {std::move(signature)};
}

TEST_F(AssertionJudge, FindsTheMistakeWithWhichTheSignatureVerifies) {
  const Data message = joined({statement_, hash_});
  const Subjects signature = {Subject::signature};
  expectFlaw(answerStating(statement_, hash_), signature, "over clientDataHash alone");
  expectFlaw(answerStating(statement_, statement_), signature, "over authenticatorData alone");
  expectFlaw(answerStating(statement_, joined({hash_, statement_})), signature,
             "over clientDataHash before authenticatorData");
  expectFlaw(answerStating(statement_, sha256(message.bytes())), signature, "hashed twice");
  expectFlaw(answerWithKey(key::signature, signedWithSha384(key_, message)), signature,
             "it verifies hashed with SHA-384; ES256 is with SHA-256");
  expectFlaw(answerStating(statement_, joined({statement_, sha256(hash_.bytes())})), signature,
             "over the hash of clientDataHash");
  expectFlaw(answerStating(statement_, joined({with(statement_, 36, 5), hash_})), signature,
             "the counter before it was raised");
  expectFlaw(answerStating(statement_,
                           joined({host::authenticatorData("https://example.com", 5, 6), hash_})),
             signature, "with the hash of https://example.com");
  expectFlaw(answerWithKey(key::signature, rawOf(key_.sign(message.bytes()))), signature,
             "raw r‖s of 64 bytes");
  expectFlaw(answerWithKey(key::signature, rawOf(key_.sign(hash_.bytes()))), signature,
             "raw r‖s of 64 bytes; wanted is a DER Ecdsa-Sig-Value; over clientDataHash alone");
  expectFlaw(answerWithKey(key::signature, utf8(base64Url(key_.sign(message.bytes()).bytes()))),
             signature, "base64url text; send the bytes");
  expectFlaw(answerWithKey(key::signature, otherKey_.sign(message.bytes())), signature,
             "with the key of another passkey, " + base64Url(testBytes(32, 'o').bytes()));
  expectFlaw(answerWithKey(key::signature, testBytes(70, 0x30)), signature,
             "none of the usual mistakes");
}

TEST_F(AssertionJudge, LeavesOutWhatItCannotKnow) {
  terms_.passkey = std::nullopt;
  terms_.credentialID = std::nullopt;
  const FindingList findings = judgeAssertion(answer(), terms_);
  EXPECT_EQ(subjectsWith(Verdict::notChecked, findings), Subjects{Subject::signature});
  EXPECT_THAT(findings,
              testing::Not(testing::Contains(testing::Field(
                  &Finding::subject,
                  testing::AnyOf(Subject::credential, Subject::userHandle, Subject::counter)))));
  EXPECT_FALSE(isVerified(findings));
}

TEST_F(AssertionJudge, SaysThatAKeyAloneNamesNoPasskey) {
  terms_.credentialID = std::nullopt;
  terms_.passkey = RegisteredPasskey{
      .key = terms_.passkey->key, .credentialID = std::nullopt, .userHandle = std::nullopt};
  const FindingList findings = judgeAssertion(answer(), terms_);
  EXPECT_EQ(subjectsWith(Verdict::warns, findings), Subjects{Subject::credential});
  EXPECT_TRUE(isVerified(findings));
}

TEST_F(AssertionJudge, ReadsWhatThePlatformWasHandedOverWhatCameOverTheWire) {
  const PasskeyAssertionCredential handed{.userHandle = userHandle_,
                                          .relyingParty = "example.com",
                                          .signature = std::nullopt,
                                          .clientDataHash = hash_,
                                          .authenticatorData = statement_,
                                          .credentialID = credentialID_};
  ProviderMessage wire = answerWithKey(key::signature, "MEUCIQ==");
  wire.insert_or_assign(Text(key::userHandle), testBytes(1, 'x'));
  const FindingList findings = judgeAssertion(answerWith(handed, wire), terms_);
  EXPECT_THAT(detailsOf(findings), HasSubstr("signature is a string, not data"));
  EXPECT_EQ(findingsAbout(Subject::userHandle, findings).front().verdict, Verdict::holds);
  EXPECT_THAT(detailsOf(judgeAssertion(answerWith(handed), terms_)),
              HasSubstr("signature is missing"));
}

/// A request for a passkey, and a host that makes one.
class RegistrationJudge : public testing::Test {
 protected:
  static constexpr std::uint8_t Flags = UserPresent | UserVerified | AttestedCredentialDataIncluded;

  [[nodiscard]] ProviderMessage answerAttesting(const Data& object) const {
    return {{key::ok, true},
            {key::relyingPartyIdentifier, "example.com"},
            {key::clientDataHash, hash_},
            {key::credentialID, credentialID_},
            {key::attestationObject, object}};
  }
  [[nodiscard]] ProviderMessage answerStating(const Data& attested, unsigned flags = Flags) const {
    return answerAttesting(host::attestationObject(
        host::authenticatorData("example.com", static_cast<std::uint8_t>(flags), 0,
                                attested.bytes())
            .bytes()));
  }
  [[nodiscard]] Data attested() const {
    return host::attestedCredentialData(credentialID_.bytes(), key_);
  }
  /// The attested credential with another COSE_Key.
  [[nodiscard]] Data attestedWithKey(const Data& coseKey) const {
    return joined({attested().slice(0, attested().size() - 77), coseKey});
  }
  [[nodiscard]] Data coseKey() const { return attested().slice(attested().size() - 77, 77); }
  [[nodiscard]] Data coseKey(const Data& x, const Data& y) const {
    return joined({coseKey().slice(0, 10), x, bytes({0x22, 0x58, 0x20}), y});
  }
  [[nodiscard]] Data object() const {
    return *dataForKey(answerStating(attested()), key::attestationObject);
  }

  void expectFlaw(const ProviderMessage& wrong, const Subjects& subjects,
                  std::string_view detail) const {
    const FindingList findings = judgeRegistration(wrong, terms_).findings;
    EXPECT_EQ(subjectsWith(Verdict::fails, findings), subjects) << detailsOf(findings);
    EXPECT_THAT(detailsOf(findings), HasSubstr(detail));
  }

  host::SigningKey key_ = host::SigningKey::generate();
  Data hash_ = testBytes(32, 'h');
  Data credentialID_ = testBytes(32, 'c');
  RegistrationTerms terms_{.request = {.relyingParty = "example.com",
                                       .clientDataHash = hash_,
                                       .verificationRequired = true},
                           .userHandle = testBytes(16, 'u')};
};

const Subjects OfAttestation = {Subject::attestation};

Data reversedOf(const Data& data) {
  auto bytes = vectorOf(data);
  std::ranges::reverse(bytes);
  return Data::copyOf(bytes);
}

TEST_F(RegistrationJudge, FindsNothingWrongWithASoundAnswerAndRemembersThePasskey) {
  const auto review = judgeRegistration(answerStating(attested()), terms_);
  EXPECT_TRUE(isVerified(review.findings)) << detailsOf(review.findings);
  EXPECT_EQ(subjectsWith(Verdict::holds, review.findings),
            (Subjects{Subject::kinds, Subject::echoes, Subject::excluded, Subject::attestation,
                      Subject::algorithm, Subject::authenticatorData, Subject::flags,
                      Subject::verification}));
  ASSERT_TRUE(review.passkey.has_value());
  EXPECT_EQ(review.passkey->credentialID, credentialID_);
  EXPECT_EQ(review.passkey->userHandle, terms_.userHandle);
  EXPECT_EQ(review.passkey->relyingParty, "example.com");
}

TEST_F(RegistrationJudge, AcceptsAnyModelOfAuthenticatorAndFormat) {
  EXPECT_TRUE(
      isVerified(judgeRegistration(answerStating(with(attested(), 3, 7)), terms_).findings));
  // "none" becomes "nome", with a statement of one member.
  const Data whole = object();
  const Data changed = joined({with(whole.slice(0, 18), 8, 'm'), bytes({0xA1, 0x61, 'x', 0}),
                               whole.slice(19, whole.size() - 19)});
  const auto other = judgeRegistration(answerAttesting(changed), terms_);
  EXPECT_TRUE(isVerified(other.findings)) << detailsOf(other.findings);
}

TEST_F(RegistrationJudge, NamesWhatIsSentInPlaceOfAnAttestationObject) {
  const Data statement = host::authenticatorData("example.com", Flags, 0, attested().bytes());
  expectFlaw(answerAttesting(statement), OfAttestation, "authData without its object");
  expectFlaw(answerAttesting(utf8(R"({"fmt":"none"})")), OfAttestation, "this is JSON");
  expectFlaw(answerAttesting(utf8(base64Url(object().bytes()))), OfAttestation,
             "the object's text in base64");
  expectFlaw(answerAttesting(Data()), OfAttestation, "got no bytes");
}

TEST_F(RegistrationJudge, WantsTheAttestationObjectInCanonicalForm) {
  const Data whole = object();
  const Data format = whole.slice(1, 9);
  const Data statement = whole.slice(10, 9);
  const Data rest = whole.slice(19, whole.size() - 19);
  expectFlaw(answerAttesting(joined({bytes({0xA3}), statement, format, rest})), OfAttestation,
             "keys out of order: \"attStmt\" before \"fmt\"");
  expectFlaw(answerAttesting(joined({bytes({0xBF}), format, statement, rest, bytes({0xFF})})),
             OfAttestation, "indefinite length");
  expectFlaw(answerAttesting(joined({bytes({0xB8, 3}), format, statement, rest})), OfAttestation,
             "not in its shortest form");
  expectFlaw(answerAttesting(joined({whole, bytes({0, 0})})), OfAttestation, "2 bytes more");
  expectFlaw(answerAttesting(joined({bytes({0xA2}), format, rest})), OfAttestation,
             "the attestation object has no statement");
  expectFlaw(answerAttesting(joined({bytes({0xA2}), statement, rest})), OfAttestation,
             "the attestation object has no format");
  expectFlaw(answerAttesting(joined({bytes({0xA2}), format, statement})), OfAttestation,
             "has no authenticator data");
  expectFlaw(answerAttesting(with(whole, 28, 0x78)), OfAttestation,
             "authData is a text string, not a byte string");
  expectFlaw(answerAttesting(joined({whole.slice(0, 28), bytes({0x61, 'x'})})), OfAttestation,
             "authData is not a byte string");
  expectFlaw(answerAttesting(joined({bytes({0xA4, 0x61, 'x', 0}), format, statement, rest})),
             OfAttestation, "a map of 4");
  expectFlaw(answerAttesting(joined({bytes({0xA3}), format, statement.slice(0, 8),
                                     bytes({0xA1, 0x61, 'x', 0}), rest})),
             OfAttestation, "the format \"none\" has a statement");
  expectFlaw(answerAttesting(with(whole, 8, 'm')), OfAttestation,
             "the format \"nome\" has an empty statement");
}

TEST_F(RegistrationJudge, WantsTheAttestedCredentialBehindItsFlag) {
  expectFlaw(answerStating(attested(), Flags & ~unsigned{AttestedCredentialDataIncluded}),
             OfAttestation, "the flag AT is missing");
  expectFlaw(answerStating(attested().slice(0, 20)), OfAttestation, "cut short");
  expectFlaw(answerStating(attested().slice(16, attested().size() - 16)), OfAttestation,
             "the credential ID begins at byte 39 of the authenticator data, not at 55");
  expectFlaw(answerStating(with(with(attested(), 16, 32), 17, 0)), OfAttestation,
             "the credential ID has 32 bytes, but the two bytes before it, big-endian, say 8192");
  expectFlaw(answerStating(joined({attested(), bytes({0})})), OfAttestation, "too long");
  expectFlaw(answerStating(attested(), Flags | BackedUp), {Subject::flags}, "BS (0x10) only");
  expectFlaw(answerStating(attested(), Flags & ~unsigned{UserVerified}), {Subject::verification},
             "UP, AT (0x41)");
}

TEST_F(RegistrationJudge, WantsAnIdentifierOfAFairSizeTheSameOutside) {
  for (const std::size_t size : {std::size_t{15}, std::size_t{1024}}) {
    credentialID_ = testBytes(size, 'c');
    expectFlaw(answerStating(attested()), OfAttestation, "16 to 1,023 bytes");
  }
  credentialID_ = testBytes(16, 'c');
  const Data inside = attested();
  credentialID_ = utf8(base64Url(credentialID_.bytes()));
  expectFlaw(answerStating(inside), OfAttestation, "written as base64url text");
}

TEST_F(RegistrationJudge, WantsAKeyForEs256OnP256) {
  expectFlaw(answerStating(attestedWithKey(with(coseKey(), 2, 3))), OfAttestation, "kty (1)");
  expectFlaw(answerStating(attestedWithKey(with(coseKey(), 4, 0x27))),
             {Subject::attestation, Subject::algorithm}, "alg (3): ES256, -7\ngot -8");
  expectFlaw(answerStating(attestedWithKey(with(coseKey(), 6, 2))), OfAttestation, "crv (-1)");
  expectFlaw(answerStating(attestedWithKey(with(coseKey(), 7, 0x23))), OfAttestation,
             "the key has no point");
  expectFlaw(answerStating(attestedWithKey(
                 joined({bytes({0xA6}), coseKey().slice(1, 76), bytes({0x23, 0})}))),
             OfAttestation, "a map of 6");
  expectFlaw(answerStating(attestedWithKey(
                 joined({bytes({0xA5, 0x03, 0x26, 0x01, 0x02}), coseKey().slice(5, 72)}))),
             OfAttestation, "keys out of order: 3 before 1");
  expectFlaw(answerStating(attestedWithKey(key_.subjectPublicKeyInfo())), OfAttestation,
             "it looks like DER");
  expectFlaw(answerStating(attestedWithKey(coseKey(key_.publicY(), key_.publicY()))), OfAttestation,
             "the key's point is not on P-256");
  expectFlaw(answerStating(attestedWithKey(coseKey(reversedOf(key_.publicX()), key_.publicY()))),
             OfAttestation, "x is little-endian");
  expectFlaw(answerStating(
                 attestedWithKey(coseKey(reversedOf(key_.publicX()), reversedOf(key_.publicY())))),
             OfAttestation, "x and y are little-endian");
  expectFlaw(answerStating(attestedWithKey(coseKey(key_.publicY(), key_.publicX()))), OfAttestation,
             "x and y are exchanged");
}

TEST_F(RegistrationJudge, TellsThatExclusionsAndAlgorithmsAreIgnored) {
  terms_.excludedCredentials = {testBytes(16, 'x'), credentialID_};
  expectFlaw(answerStating(attested()), {Subject::excluded}, "excludedCredentials is ignored");
  terms_.excludedCredentials = {testBytes(16, 'x')};
  terms_.algorithms = {-257};
  expectFlaw(answerStating(attested()), {Subject::algorithm},
             "made ES256 (-7) where only RS256 (-257) is accepted");
  terms_.algorithms = {-257, -7};
  EXPECT_TRUE(isVerified(judgeRegistration(answerStating(attested()), terms_).findings));
}

TEST(RefusalJudge, AcceptsARefusalThatExplainsItself) {
  const auto findings = judgeRefusal(
      {{key::ok, false}, {key::errorCode, "vaultLocked"}, {key::errorDescription, "Locked."}},
      true);
  EXPECT_TRUE(isVerified(findings));
  EXPECT_EQ(subjectsWith(Verdict::warns, findings), Subjects());
}

TEST(RefusalJudge, NamesWhatIsWrongWithARefusal) {
  struct Row {
    std::string_view key;
    PropertyListValue value;
    Subject subject;
    std::string detail;
  };
  for (const Row& row :
       {Row{key::errorCode, "VaultLocked", Subject::refusalCode,
            "\"VaultLocked\" counts as failed: meant \"vaultLocked\"?"},
        Row{key::errorCode, "locked", Subject::refusalCode, "\"locked\" counts as failed\n"},
        Row{key::errorCode, 7, Subject::refusalCode, "got the integer 7"},
        Row{key::errorDescription, "\x1b[2K✓", Subject::refusalDescription, "\\u{1B}[2K✓"},
        Row{key::errorDescription, false, Subject::refusalDescription, "got false"},
        Row{key::showUnavailableUI, true, Subject::refusalNotice, "nobody is there"},
        Row{key::showUnavailableUI, 1, Subject::refusalNotice, "got the integer 1"}}) {
    ProviderMessage refusal = {
        {key::ok, false}, {key::errorCode, "failed"}, {key::errorDescription, "It failed."}};
    refusal.insert_or_assign(Text(row.key), row.value);
    const auto findings = judgeRefusal(refusal, true);
    EXPECT_EQ(subjectsWith(Verdict::fails, findings), Subjects{row.subject}) << row.detail;
    EXPECT_THAT(detailsOf(findings), HasSubstr(row.detail));
  }
}

TEST(RefusalJudge, TakesTheNoticeWhereTheUserIsThereAndMissesADescription) {
  const auto findings = judgeRefusal(
      {{key::ok, false}, {key::errorCode, "unavailable"}, {key::showUnavailableUI, true}}, false);
  EXPECT_EQ(subjectsWith(Verdict::fails, findings), Subjects());
  EXPECT_EQ(subjectsWith(Verdict::warns, findings), Subjects{Subject::refusalDescription});
}

TEST(RefusalJudge, WarnsOfADescriptionThatIsVeryLong) {
  const auto subjectsOf = [](std::size_t size) {
    return subjectsWith(Verdict::warns,
                        judgeRefusal({{key::ok, false},
                                      {key::errorCode, "failed"},
                                      {key::errorDescription, std::string(size, 'x')}},
                                     true));
  };
  EXPECT_EQ(subjectsOf(1024), Subjects());
  EXPECT_EQ(subjectsOf(1025), Subjects{Subject::refusalDescription});
}

TEST(OkJudge, WantsABoolean) {
  EXPECT_EQ(judgeOk({{key::ok, true}}).verdict, Verdict::holds);
  EXPECT_EQ(judgeOk({{key::ok, 1}}).got, "the integer 1");
  EXPECT_EQ(judgeOk({{key::ok, "YES"}}).got, "the string \"YES\"");
  EXPECT_EQ(judgeOk({}).got, "missing");
}

}  // namespace
}  // namespace korvan::lab
