#include "lab/browser/site/Ceremonies.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/host/AuthenticatorData.h"
#include "lab/host/SigningKey.h"
#include "lab/site/ValueWords.h"
#include "lab/support/Base64Url.h"
#include "lab/support/Bytes_testing.h"

namespace korvan::lab {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::string_view Origin = "http://localhost:40123";

std::string text(const Data& data) { return base64Url(data.bytes()); }

Data utf8(std::string_view words) {
  return Data::copyOf({reinterpret_cast<const std::uint8_t*>(words.data()), words.size()});
}

/// The words of the findings with this verdict.
std::vector<std::string> words(const json& review, std::string_view verdict) {
  std::vector<std::string> found;
  for (const json& finding : review.at("findings")) {
    if (finding.at("verdict") == verdict) {
      found.push_back(finding.at("words"));
    }
  }
  return found;
}

/// The lab's web site, and a browser with an authenticator that holds one passkey.
class CeremoniesTest : public testing::Test {
 protected:
  [[nodiscard]] json finish(const json& options, const json& credential,
                            const PostingPage& page = {.origin = std::string(Origin)}) {
    return site_.finish({{"challenge", options.at("challenge")}, {"credential", credential}}, page);
  }

  [[nodiscard]] static json clientData(const json& options, std::string_view type) {
    return {{"type", type},
            {"challenge", options.at("challenge")},
            {"origin", Origin},
            {"crossOrigin", false}};
  }

  [[nodiscard]] json beginRegistration(const json& more = json::object()) {
    json wish{{"ceremony", "create"}, {"userVerification", "preferred"}};
    wish.update(more);
    return site_.begin(wish);
  }
  [[nodiscard]] json beginSignIn(const json& more = json::object()) {
    json wish{{"ceremony", "get"}, {"userVerification", "preferred"}};
    wish.update(more);
    return site_.begin(wish);
  }

  /// What toJSON() of a new credential gives.
  [[nodiscard]] json newCredential(const json& clientData,
                                   std::uint8_t flags = UserPresent | UserVerified) const {
    const Data attested = host::attestedCredentialData(credentialID_.bytes(), key_);
    const Data statement = host::authenticatorData(
        "localhost", flags | AttestedCredentialDataIncluded, 0, attested.bytes());
    return {{"rawId", text(credentialID_)},
            {"response",
             {{"clientDataJSON", text(utf8(clientData.dump()))},
              {"authenticatorData", text(statement)},
              {"attestationObject", text(host::attestationObject(statement.bytes()))}}}};
  }

  [[nodiscard]] json signature(const json& clientData, std::uint32_t count,
                               std::uint8_t flags = UserPresent | UserVerified) const {
    const std::string stated = clientData.dump();
    const Data statement = host::authenticatorData("localhost", flags, count);
    return {{"rawId", text(credentialID_)},
            {"response",
             {{"clientDataJSON", text(utf8(stated))},
              {"authenticatorData", text(statement)},
              {"signature", text(key_.sign(joined({statement, sha256(stated)}).bytes()))},
              {"userHandle", text(userHandle_)}}}};
  }

  void registerPasskey() {
    const json options = beginRegistration();
    userHandle_ = *fromBase64Url(options.at("user").at("id").get<std::string>());
    ASSERT_TRUE(
        finish(options, newCredential(clientData(options, "webauthn.create"))).at("verified"));
  }

  Ceremonies site_;
  host::SigningKey key_ = host::SigningKey::generate();
  Data credentialID_ = testBytes(32, 'c');
  Data userHandle_ = testBytes(16, 'u');
};

TEST_F(CeremoniesTest, MakesTheOptionsOfARegistration) {
  const json options = beginRegistration({{"credentials", {text(credentialID_)}}});
  EXPECT_EQ(fromBase64Url(options.at("challenge").get<std::string>())->size(), 32U);
  EXPECT_EQ(options.at("rp").at("id"), "localhost");
  EXPECT_EQ(options.at("user").at("name"), "visitor 1");
  EXPECT_EQ(options.at("pubKeyCredParams"), json::parse(R"([{"type":"public-key","alg":-7}])"));
  EXPECT_EQ(options.at("excludeCredentials").at(0).at("id"), text(credentialID_));
  EXPECT_EQ(options.at("authenticatorSelection").at("userVerification"), "preferred");
}

TEST_F(CeremoniesTest, MakesTheOptionsOfASignIn) {
  const json options =
      beginSignIn({{"userVerification", "required"}, {"credentials", {text(credentialID_)}}});
  EXPECT_EQ(options.at("rpId"), "localhost");
  EXPECT_EQ(options.at("userVerification"), "required");
  EXPECT_EQ(options.at("allowCredentials").at(0).at("id"), text(credentialID_));
  EXPECT_NE(options.at("challenge"), beginSignIn().at("challenge"));
}

TEST_F(CeremoniesTest, RefusesWishesThatItCannotRead) {
  for (const char* const wish :
       {R"([])", R"({"ceremony":"create"})", R"({"userVerification":"preferred"})",
        R"({"ceremony":"dance","userVerification":"preferred"})",
        R"({"ceremony":"get","userVerification":"always"})",
        R"({"ceremony":"get","userVerification":"preferred","credentials":["*"]})",
        R"({"ceremony":"get","userVerification":"preferred","credentials":[7]})"}) {
    EXPECT_ANY_THROW((void)site_.begin(json::parse(wish))) << wish;
  }
}

TEST_F(CeremoniesTest, AcceptsAndRemembersANewPasskey) {
  const json options = beginRegistration();
  const json review = finish(options, newCredential(clientData(options, "webauthn.create")));
  EXPECT_TRUE(review.at("verified")) << review.dump(2);
  EXPECT_THAT(site_.passkeys(), ElementsAre(json{{"credentialID", text(credentialID_)},
                                                 {"userHandle", options.at("user").at("id")},
                                                 {"userName", "visitor 1"}}));
}

TEST_F(CeremoniesTest, AcceptsSignInsWithAGrowingCount) {
  registerPasskey();
  for (const std::uint32_t count : {1U, 2U}) {
    const json options = beginSignIn({{"credentials", {text(credentialID_)}}});
    const json review = finish(options, signature(clientData(options, "webauthn.get"), count));
    EXPECT_TRUE(review.at("verified")) << review.dump(2);
  }
  const json options = beginSignIn();
  const json review = finish(options, signature(clientData(options, "webauthn.get"), 2));
  EXPECT_THAT(words(review, "fails"), ElementsAre(HasSubstr("sign count")));
}

TEST_F(CeremoniesTest, SaysNothingOfWhatAPageDoesNotSend) {
  registerPasskey();
  const json options = beginSignIn();
  const json review = finish(options, signature(clientData(options, "webauthn.get"), 1));
  EXPECT_THAT(words(review, "holds"), testing::Not(testing::Contains("made for localhost")));
  EXPECT_THAT(words(review, "holds"),
              testing::Not(testing::Contains("every key, each of its kind")));
}

TEST_F(CeremoniesTest, NamesWhatIsWrongWithTheClientData) {
  const std::vector<std::pair<json, std::string>> changes = {
      {{{"type", "webauthn.get"}}, "type"},
      {{{"challenge", "AAAA"}}, "challenge"},
      {{{"origin", "http://localhost:1"}}, "origin"},
      {{{"crossOrigin", true}}, "crossOrigin"}};
  for (const auto& [change, name] : changes) {
    const json options = beginRegistration();
    json changed = clientData(options, "webauthn.create");
    changed.update(change);
    const json review = finish(options, newCredential(changed));
    EXPECT_THAT(words(review, "fails"), ElementsAre(HasSubstr("client data's " + name)));
    EXPECT_FALSE(review.at("verified"));
  }
  EXPECT_THAT(site_.passkeys(), IsEmpty());
}

TEST_F(CeremoniesTest, WantsAFrameOfAnotherOriginToSaySo) {
  registerPasskey();
  const PostingPage frame{.origin = std::string(Origin), .embedded = true};
  for (const bool says : {false, true}) {
    const json options = beginSignIn();
    json stated = clientData(options, "webauthn.get");
    stated["crossOrigin"] = says;
    EXPECT_EQ(finish(options, signature(stated, says ? 2 : 1), frame).at("verified"), says);
  }
}

TEST_F(CeremoniesTest, NamesWhatIsWrongWithASignIn) {
  registerPasskey();
  using Change = std::function<void(json&)>;
  const std::vector<std::pair<Change, std::string>> changes = {
      {[](json& response) { response["signature"] = "MAA"; }, "not signed by"},
      {[](json& response) { response.erase("userHandle"); }, "userHandle is missing"},
      {[](json& response) { response["userHandle"] = "AAAA"; }, "another user"},
      {[](json& response) { response["authenticatorData"] = "AAAA"; }, "authenticator"}};
  for (const auto& [change, expected] : changes) {
    const json options = beginSignIn();
    json credential = signature(clientData(options, "webauthn.get"), 1);
    change(credential.at("response"));
    const json review = finish(options, credential);
    EXPECT_FALSE(review.at("verified"));
    EXPECT_THAT(words(review, "fails"), testing::Contains(HasSubstr(expected))) << review.dump(2);
  }
}

TEST_F(CeremoniesTest, WantsTheUserVerifiedWhereItAskedForIt) {
  registerPasskey();
  const json options = beginSignIn({{"userVerification", "required"}});
  const json review =
      finish(options, signature(clientData(options, "webauthn.get"), 1, UserPresent));
  EXPECT_THAT(words(review, "fails"), ElementsAre(HasSubstr("verified")));
}

TEST_F(CeremoniesTest, WantsThePresenceOfTheUserUnlessConditional) {
  for (const bool conditional : {false, true}) {
    const json options = beginRegistration({{"conditional", conditional}});
    const json review = finish(options, newCredential(clientData(options, "webauthn.create"), 0));
    EXPECT_EQ(review.at("verified"), conditional) << review.dump(2);
  }
}

TEST_F(CeremoniesTest, RefusesPasskeysThatItExcludedDidNotAllowOrDoesNotKnow) {
  const json unknown = beginSignIn();
  EXPECT_FALSE(finish(unknown, signature(clientData(unknown, "webauthn.get"), 1)).at("verified"));

  registerPasskey();
  const json excluding = beginRegistration({{"credentials", {text(credentialID_)}}});
  EXPECT_FALSE(
      finish(excluding, newCredential(clientData(excluding, "webauthn.create"))).at("verified"));

  const json allowing = beginSignIn({{"credentials", {text(testBytes(32, 'o'))}}});
  const json review = finish(allowing, signature(clientData(allowing, "webauthn.get"), 1));
  EXPECT_THAT(words(review, "fails"), ElementsAre(HasSubstr("not allowed")));
}

TEST_F(CeremoniesTest, AnswersEachChallengeOnce) {
  registerPasskey();
  const json options = beginSignIn();
  const json credential = signature(clientData(options, "webauthn.get"), 1);
  EXPECT_TRUE(finish(options, credential).at("verified"));
  EXPECT_THROW((void)finish(options, credential), std::invalid_argument);
}

TEST_F(CeremoniesTest, ForgetsTheOldestOfTooManyRequests) {
  registerPasskey();
  const json first = beginSignIn();
  json last;
  for (int count = 0; count < 100; ++count) {
    last = beginSignIn();
  }
  EXPECT_THROW((void)finish(first, signature(clientData(first, "webauthn.get"), 1)),
               std::invalid_argument);
  EXPECT_TRUE(finish(last, signature(clientData(last, "webauthn.get"), 1)).at("verified"));
}

TEST_F(CeremoniesTest, ShowsTheAnswerDecoded) {
  const json options = beginRegistration();
  const json credential = newCredential(clientData(options, "webauthn.create"));
  const json review = finish(options, credential);
  std::vector<std::string> names;
  for (const json& detail : review.at("details")) {
    names.push_back(detail.at(0));
  }
  EXPECT_THAT(names,
              ElementsAre("Credential ID", "Client data", "Relying party's SHA-256", "Flags",
                          "Sign count", "Authenticator model (AAGUID)", "Public key (COSE)"));
  EXPECT_EQ(review.at("details").at(0).at(1), text(credentialID_));
  EXPECT_EQ(review.at("details").at(3).at(1), "UP, UV, AT (0x45)");
}

TEST_F(CeremoniesTest, RefusesClientDataThatNestsDeeply) {
  const json options = beginRegistration();
  const std::string deep =
      "{\"type\":" + std::string(100'000, '[') + std::string(100'000, ']') + "}";
  json credential = newCredential(clientData(options, "webauthn.create"));
  credential.at("response")["clientDataJSON"] = text(utf8(deep));
  EXPECT_THAT(words(finish(options, credential), "fails"),
              testing::Contains("the client data is not a JSON object"));
}

TEST_F(CeremoniesTest, ShowsBytesThatNobodyCanDecode) {
  const json options = beginRegistration();
  const json review = finish(
      options,
      {{"rawId", "AAAA"},
       {"response", {{"clientDataJSON", text(testBytes(3, 0xff))}, {"attestationObject", "_w"}}}});
  EXPECT_FALSE(review.at("verified"));
  EXPECT_EQ(review.at("details").at(1).at(1), "\\xFF\\xFF\\xFF");
  EXPECT_EQ(review.at("details").at(2), (json{"Authenticator data", "ff"}));
  EXPECT_THAT(words(review, "fails"), testing::Contains("the client data is not a JSON object"));
}

}  // namespace
}  // namespace korvan::lab
