#include "lab/host/RequestFields.h"

#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/host/Refusal.h"
#include "lab/host/RelyingParty_testing.h"

namespace korvan::lab::host {
namespace {

using testing::ElementsAre;
using testing::StrEq;
using testing::ThrowsMessage;
using Array = PropertyListValue::Array;

const Data SomeBytes = testBytes(3, 'b');

TEST(RequestFields, GivesEachKind) {
  const PropertyListDictionary request{{.key = "string"_text, .value = "text"_text},
                                       {.key = "data"_text, .value = SomeBytes},
                                       {.key = "boolean"_text, .value = true},
                                       {.key = "list"_text, .value = Array{SomeBytes, Data()}},
                                       {.key = "numbers"_text, .value = Array{-7, 257}}};
  const RequestFields fields(request);
  EXPECT_EQ(fields.string("string"), "text");
  EXPECT_EQ(fields.data("data"), SomeBytes);
  EXPECT_TRUE(fields.boolean("boolean"));
  EXPECT_THAT(fields.dataArray("list"), ElementsAre(SomeBytes, Data()));
  EXPECT_THAT(fields.integerArray("numbers"), ElementsAre(-7, 257));
}

TEST(RequestFields, RefusesAMissingKeyByName) {
  const PropertyListDictionary request;
  const RequestFields fields(request);
  const auto refuses = ThrowsMessage<Refusal>(StrEq("The request's userHandle is missing."));
  EXPECT_THAT([&] { std::ignore = fields.string("userHandle"); }, refuses);
  EXPECT_THAT([&] { std::ignore = fields.data("userHandle"); }, refuses);
  EXPECT_THAT([&] { std::ignore = fields.boolean("userHandle"); }, refuses);
  EXPECT_THAT([&] { std::ignore = fields.dataArray("userHandle"); }, refuses);
  EXPECT_THAT([&] { std::ignore = fields.integerArray("userHandle"); }, refuses);
}

TEST(RequestFields, RefusesAnotherKindByName) {
  const PropertyListDictionary request{
      {.key = "key"_text, .value = 1},
      {.key = "list"_text, .value = Array{SomeBytes, 2, SomeBytes}}};
  const RequestFields fields(request);
  const auto refuses = [](const char* message) { return ThrowsMessage<Refusal>(StrEq(message)); };
  EXPECT_THAT([&] { std::ignore = fields.string("key"); },
              refuses("The request's key is not a string."));
  EXPECT_THAT([&] { std::ignore = fields.data("key"); }, refuses("The request's key is not data."));
  EXPECT_THAT([&] { std::ignore = fields.boolean("key"); },
              refuses("The request's key is not a boolean."));
  EXPECT_THAT([&] { std::ignore = fields.dataArray("key"); },
              refuses("The request's key is not an array."));
  EXPECT_THAT([&] { std::ignore = fields.dataArray("list"); },
              refuses("The request's list[1] is not data."));
  EXPECT_THAT([&] { std::ignore = fields.integerArray("list"); },
              refuses("The request's list[0] is not an integer."));
}

}  // namespace
}  // namespace korvan::lab::host
