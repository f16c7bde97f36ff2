#include "platform/PropertyList.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace korvan {
namespace {

using Array = PropertyListValue::Array;
using namespace std::string_view_literals;

std::string keysOf(const PropertyListDictionary& dictionary) {
  std::string keys;
  for (const auto& [key, value] : dictionary) {
    keys += std::string(key.view()) + ' ';
  }
  return keys;
}

TEST(PropertyListValue, IsNullAtFirst) {
  EXPECT_TRUE(PropertyListValue().isNull());
  EXPECT_FALSE(PropertyListValue(false).isNull());
}

TEST(PropertyListValue, GivesBackWhatItWasMadeOf) {
  EXPECT_EQ(PropertyListValue(true).boolean(), true);
  EXPECT_EQ(PropertyListValue(-5).integer(), -5);
  EXPECT_EQ(PropertyListValue(2.5).real(), 2.5);
  EXPECT_EQ(PropertyListValue(PropertyListDate{1.5}).date(), PropertyListDate{1.5});
  EXPECT_EQ(PropertyListValue(PropertyListUid{7}).uid(), PropertyListUid{7});
  EXPECT_EQ(PropertyListValue("text").text()->view(), "text");
  EXPECT_EQ(PropertyListValue(std::string("text")).text()->view(), "text");
  EXPECT_EQ(PropertyListValue(std::string_view("text")).text()->view(), "text");
  EXPECT_EQ(PropertyListValue(Data::copyOf(std::array<std::uint8_t, 2>{1, 2})).data()->size(), 2U);
  EXPECT_EQ(PropertyListValue(Array{1, 2}).array()->size(), 2U);
  EXPECT_EQ(PropertyListValue(PropertyListDictionary{{"k", 1}}).dictionary()->size(), 1U);
}

TEST(PropertyListValue, IsTheSameIntegerSignedOrNot) {
  EXPECT_EQ(PropertyListValue(5U), PropertyListValue(5));
  EXPECT_EQ(PropertyListValue(std::uint64_t{INT64_MAX}).integer(), INT64_MAX);
}

TEST(PropertyListValue, KeepsIntegersAboveTheSignedRangeApart) {
  const PropertyListValue large(std::uint64_t{INT64_MAX} + 1);

  EXPECT_EQ(large.largeInteger(), std::uint64_t{INT64_MAX} + 1);
  EXPECT_EQ(large.integer(), std::nullopt);
  EXPECT_EQ(PropertyListValue(5).largeInteger(), std::nullopt);
}

TEST(PropertyListValue, IsAbsentToAReaderOfAnotherKind) {
  const PropertyListValue text("1");

  EXPECT_EQ(text.boolean(), std::nullopt);
  EXPECT_EQ(text.integer(), std::nullopt);
  EXPECT_EQ(text.real(), std::nullopt);
  EXPECT_EQ(text.date(), std::nullopt);
  EXPECT_EQ(text.uid(), std::nullopt);
  EXPECT_EQ(text.data(), nullptr);
  EXPECT_EQ(text.array(), nullptr);
  EXPECT_EQ(text.dictionary(), nullptr);
  EXPECT_EQ(PropertyListValue(1).text(), nullptr);
}

TEST(PropertyListValue, IsTrueWhenABooleanSaysSoOrANumberIsNotZero) {
  const std::vector<std::pair<PropertyListValue, bool>> rows = {{PropertyListValue(), false},
                                                                {true, true},
                                                                {false, false},
                                                                {0, false},
                                                                {-1, true},
                                                                {UINT64_MAX, true},
                                                                {0.0, false},
                                                                {0.25, true},
                                                                {"true", false},
                                                                {Array{true}, false},
                                                                {Data(), false}};
  for (std::size_t row = 0; row < rows.size(); ++row) {
    EXPECT_EQ(rows[row].first.truthValue(), rows[row].second) << "row " << row;
  }
}

TEST(PropertyListValue, SharesContainersWithCopies) {
  const PropertyListValue value(Array{1, 2, 3});
  const PropertyListValue copy = value;  // NOLINT(performance-unnecessary-copy-initialization)

  EXPECT_EQ(copy.array(), value.array());
}

TEST(PropertyListValue, EqualsByContents) {
  EXPECT_EQ(PropertyListValue(Array{1, "a"}), PropertyListValue(Array{1, "a"}));
  EXPECT_NE(PropertyListValue(Array{1, "a"}), PropertyListValue(Array{1, "b"}));
  EXPECT_NE(PropertyListValue(Array{1}), PropertyListValue(Array{1, 1}));
  EXPECT_NE(PropertyListValue(1), PropertyListValue(1.0));
  EXPECT_NE(PropertyListValue(Array{}), PropertyListValue(PropertyListDictionary{}));
  EXPECT_NE(PropertyListValue(Array{1}), PropertyListValue::setOf({1}));
  EXPECT_EQ(PropertyListValue::setOf({1, 2}), PropertyListValue::setOf({1, 2}));
  EXPECT_NE(PropertyListValue::setOf({1, 2}), PropertyListValue::setOf({2, 1}));
}

TEST(PropertyListValue, IsUnequalToItselfAsARealThatIsNotANumber) {
  const PropertyListValue value = Array{std::numeric_limits<double>::quiet_NaN()};
  const PropertyListValue copy = value;  // NOLINT(performance-unnecessary-copy-initialization)

  EXPECT_NE(value, copy);
}

TEST(PropertyListValue, ComparesAsDeepAsPropertyListsAreNested) {
  const auto nested = [](PropertyListValue value) {
    for (int depth = 0; depth < 512; ++depth) {
      value = depth % 3 == 0   ? PropertyListValue(PropertyListDictionary{{"a", value}})
              : depth % 3 == 1 ? PropertyListValue::setOf({value})
                               : PropertyListValue(Array{value});
    }
    return value;
  };

  EXPECT_EQ(nested(1), nested(1));
  EXPECT_NE(nested(1), nested(2));
}

TEST(PropertyListValue, ReleasesNestedContainersWithTheLastThatHoldsThem) {
  auto bytes = std::make_shared<const std::uint8_t>(std::uint8_t{7});
  const std::weak_ptr<const std::uint8_t> held = bytes;
  PropertyListValue value(Data(std::move(bytes), 1));
  for (int depth = 0; depth < 512; ++depth) {
    value = Array{value, value};
  }
  PropertyListValue copy = value;

  value = {};
  EXPECT_FALSE(held.expired());
  copy = {};
  EXPECT_TRUE(held.expired());
}

TEST(PropertyListDictionary, IsKeptInTheKeysByteOrder) {
  const PropertyListDictionary dictionary{
      {"type", 1}, {"Type", 2}, {"typ", 3}, {"\xC3\xA9", 4}, {"type2", 5}};

  EXPECT_EQ(keysOf(dictionary), "Type typ type type2 \xC3\xA9 ");
  EXPECT_EQ(*valueForKey(dictionary, "typ"), PropertyListValue(3));
}

TEST(PropertyListDictionary, TellsApartKeysThatDifferInZerosAtTheirEnd) {
  const PropertyListDictionary dictionary{{"a\0\0"sv, 3}, {"a\0"sv, 2}, {"a", 1}};

  EXPECT_EQ(keysOf(dictionary), "a a\0 a\0\0 "sv);
}

TEST(PropertyListDictionary, FindsEveryKeyAndNoOther) {
  const PropertyListDictionary dictionary{{"type", 1}, {"ok", 2}};

  ASSERT_NE(valueForKey(dictionary, "ok"), nullptr);
  EXPECT_EQ(*valueForKey(dictionary, "ok"), 2);
  EXPECT_EQ(valueForKey(dictionary, "okay"), nullptr);
  EXPECT_EQ(valueForKey(dictionary, ""), nullptr);
  EXPECT_EQ(valueForKey({}, "ok"), nullptr);
}

TEST(PropertyListDictionary, ReplacesTheValueOfAKeyThatIsSetAgain) {
  PropertyListDictionary dictionary{{"a", 1}, {"b", 2}};
  dictionary.insert_or_assign("a", "new");

  EXPECT_EQ(dictionary, PropertyListDictionary({{"a", "new"}, {"b", 2}}));
}

TEST(PropertyListDictionary, EqualsWhateverOrderItWasGivenIn) {
  EXPECT_EQ(PropertyListDictionary({{"a", 1}, {"b", 2}}),
            PropertyListDictionary({{"b", 2}, {"a", 1}}));
  EXPECT_NE(PropertyListDictionary({{"a", 1}}), PropertyListDictionary({{"b", 1}}));
  EXPECT_NE(PropertyListDictionary({{"a", 1}}), PropertyListDictionary({{"a", 2}}));
}

}  // namespace
}  // namespace korvan
