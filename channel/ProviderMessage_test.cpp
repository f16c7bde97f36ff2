#include "channel/ProviderMessage.h"

#include <array>

#include <gtest/gtest.h>

#include "platform/fake/FakePropertyListSerialization.h"

namespace korvan {
namespace {

TEST(ProviderMessage, TypesAreTheWordsOfTheProtocol) {
  EXPECT_EQ(provider_request_type::interactiveAssertion, "interactiveAssertion");
  EXPECT_EQ(provider_request_type::assertion, "assertion");
  EXPECT_EQ(provider_request_type::registration, "registration");
  EXPECT_EQ(provider_request_type::synchronize, "synchronize");
  EXPECT_EQ(provider_request_type::updateUserName, "updateUserName");
  EXPECT_EQ(provider_request_type::removeUnknownCredential, "removeUnknownCredential");
  EXPECT_EQ(provider_request_type::acceptedCredentials, "acceptedCredentials");
}

TEST(ProviderMessage, ErrorCodesAreTheWordsOfTheProtocol) {
  EXPECT_EQ(provider_error_code::failed, "failed");
  EXPECT_EQ(provider_error_code::unavailable, "unavailable");
  EXPECT_EQ(provider_error_code::vaultLocked, "vaultLocked");
  EXPECT_EQ(provider_error_code::userInteractionRequired, "userInteractionRequired");
  EXPECT_EQ(provider_error_code::userCanceled, "userCanceled");
  EXPECT_EQ(provider_error_code::credentialNotFound, "credentialNotFound");
  EXPECT_EQ(provider_error_code::matchedExcludedCredential, "matchedExcludedCredential");
}

TEST(ProviderMessage, EnvelopeKeysAreTheWordsOfTheProtocol) {
  EXPECT_EQ(provider_message_key::type, "type");
  EXPECT_EQ(provider_message_key::allowsUserInteraction, "allowsUserInteraction");
  EXPECT_EQ(provider_message_key::ok, "ok");
  EXPECT_EQ(provider_message_key::errorCode, "errorCode");
  EXPECT_EQ(provider_message_key::errorDescription, "errorDescription");
  EXPECT_EQ(provider_message_key::showUnavailableUI, "showUnavailableUI");
}

TEST(ProviderMessage, AbsentBooleanReadsAsFalse) {
  EXPECT_FALSE(booleanForKey({}, "ok"));
  EXPECT_FALSE(booleanForKey({{"OK", true}}, "ok"));
}

TEST(ProviderMessage, BooleanReadsByTruthValue) {
  const auto truth = [](const PropertyListValue& value) {
    return booleanForKey({{"ok", value}}, "ok");
  };
  EXPECT_TRUE(truth(true));
  EXPECT_FALSE(truth(false));
  EXPECT_TRUE(truth(1));
  EXPECT_TRUE(truth(-1));
  EXPECT_FALSE(truth(0));
  EXPECT_TRUE(truth(UINT64_MAX));
  EXPECT_TRUE(truth(0.5));
  EXPECT_FALSE(truth(0.0));
}

TEST(ProviderMessage, BooleanOfAnotherTypeReadsAsFalse) {
  for (const PropertyListValue& value :
       {PropertyListValue("true"), PropertyListValue(Data()), PropertyListValue(),
        PropertyListValue(PropertyListValue::Array{true}), PropertyListValue(ProviderMessage())}) {
    EXPECT_FALSE(booleanForKey({{"ok", value}}, "ok"));
  }
}

TEST(ProviderMessage, StringAndDataReadOnlyTheirOwnType) {
  const Data bytes = Data::copyOf(std::array<std::uint8_t, 2>{1, 2});
  const ProviderMessage message{{"text", "words"}, {"bytes", bytes}, {"empty", Text()}};
  EXPECT_EQ(stringForKey(message, "text"), "words");
  EXPECT_EQ(stringForKey(message, "empty"), "");
  EXPECT_EQ(stringForKey(message, "bytes"), std::nullopt);
  EXPECT_EQ(stringForKey(message, "none"), std::nullopt);
  EXPECT_EQ(dataForKey(message, "bytes"), bytes);
  EXPECT_EQ(dataForKey(message, "text"), std::nullopt);
  EXPECT_EQ(dataForKey(message, "none"), std::nullopt);
}

TEST(ProviderMessage, FailureResponseHasOkFalseACodeAndADescriptionAndNothingElse) {
  EXPECT_EQ(failureResponse("failed", "why"),
            (ProviderMessage{{"ok", false}, {"errorCode", "failed"}, {"errorDescription", "why"}}));
}

TEST(ProviderMessage, DecodesADictionary) {
  const FakePropertyListSerialization propertyLists;
  const ProviderMessage message{{"ok", true}};
  const auto decoded = decodeProviderMessage(propertyLists, propertyLists.bytesFor(message));
  EXPECT_EQ(decoded.message, message);
  EXPECT_FALSE(decoded.error);
}

TEST(ProviderMessage, APropertyListThatIsNotADictionaryIsNoMessageAndNoError) {
  const FakePropertyListSerialization propertyLists;
  for (const PropertyListValue& value :
       {PropertyListValue(PropertyListValue::Array{true}), PropertyListValue("text"),
        PropertyListValue(7), PropertyListValue(Data())}) {
    const auto decoded = decodeProviderMessage(propertyLists, propertyLists.bytesFor(value));
    EXPECT_FALSE(decoded.message);
    EXPECT_FALSE(decoded.error);
  }
}

TEST(ProviderMessage, BytesThatDoNotDecodeAreNoMessageAndTheDecodersError) {
  FakePropertyListSerialization propertyLists;
  propertyLists.decodingError = PropertyListError{"broken at byte 3"};
  const auto decoded = decodeProviderMessage(propertyLists, Data());
  EXPECT_FALSE(decoded.message);
  ASSERT_TRUE(decoded.error);
  EXPECT_EQ(decoded.error->localizedDescription, "broken at byte 3");
}

}  // namespace
}  // namespace korvan
