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
using namespace std::string_literals;
using Entry = PropertyListDictionary::Entry;

std::string keysOf(const PropertyListDictionary& dictionary) {
  std::string keys;
  for (const auto& entry : dictionary.entries()) {
    keys += std::string(entry.key.view()) + ' ';
  }
  return keys;
}

/// Arrays of two, each inside the next as both items: as many ways lead to the leaf as 2 has
/// powers.
PropertyListValue sharedArrays(int levels, PropertyListValue leaf) {
  PropertyListValue value = std::move(leaf);
  for (int level = 0; level < levels; ++level) {
    value = Array{value, value};
  }
  return value;
}

/// As above, but at every other level the two items are distinct arrays.
PropertyListValue halfSharedArrays(int levels, bool isSharedFirst, PropertyListValue leaf) {
  PropertyListValue value = std::move(leaf);
  for (int level = 0; level < levels; ++level) {
    const bool isShared = (level % 2 == 0) == isSharedFirst;
    value = isShared ? Array{value, value} : Array{Array{value}, Array{value}};
  }
  return value;
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
  EXPECT_EQ(PropertyListValue(PropertyListDictionary{{"k"_text, 1}}).dictionary()->size(), 1U);
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

TEST(PropertyListValue, HandsItsDictionaryOverWithoutACopy) {
  PropertyListValue value(PropertyListDictionary{{.key = "ok"_text, .value = true}});
  const auto* const entries = value.dictionary()->entries().data();

  const auto taken = std::move(value).takeDictionary();

  ASSERT_TRUE(taken);
  EXPECT_EQ(taken->entries().data(), entries);
}

TEST(PropertyListValue, CopiesTheDictionaryThatItHandsOverWhileOthersShareIt) {
  PropertyListValue value(PropertyListDictionary{{.key = "ok"_text, .value = true}});
  const PropertyListValue other = value;

  const auto taken = std::move(value).takeDictionary();

  ASSERT_TRUE(taken);
  EXPECT_EQ(*taken, *other.dictionary());
  EXPECT_EQ(other.dictionary()->size(), 1U);
}

TEST(PropertyListValue, HasNoDictionaryToHandOverWhenItIsOfAnotherKind) {
  EXPECT_EQ(PropertyListValue("text").takeDictionary(), std::nullopt);
}

TEST(PropertyListValue, EqualsByContents) {
  EXPECT_EQ(PropertyListValue(Array{1, "a"}), PropertyListValue(Array{1, "a"}));
  EXPECT_NE(PropertyListValue(Array{1, "a"}), PropertyListValue(Array{1, "b"}));
  EXPECT_NE(PropertyListValue(Array{1}), PropertyListValue(Array{1, 1}));
  EXPECT_NE(PropertyListValue(1), PropertyListValue(1.0));
  EXPECT_NE(PropertyListValue(Array{}), PropertyListValue(PropertyListDictionary{}));
}

TEST(PropertyListValue, ComparesSharedContainersOnceEach) {
  constexpr int Levels = 60;

  EXPECT_EQ(sharedArrays(Levels, 1), sharedArrays(Levels, 1));
  EXPECT_NE(sharedArrays(Levels, 1), sharedArrays(Levels, 2));
  EXPECT_EQ(halfSharedArrays(Levels, true, "leaf"), halfSharedArrays(Levels, true, "leaf"));
}

TEST(PropertyListValue, ComparesContainersOnceThatOnlyOneSideShares) {
  const PropertyListValue shared = sharedArrays(2, 1);
  const PropertyListValue unshared = Array{Array{1, 1}, Array{1, 1}};
  PropertyListValue left = 1;
  PropertyListValue right = 1;
  for (int level = 0; level < 60; ++level) {
    const bool isLeftShared = level % 2 == 0;
    const auto distinct = [](const PropertyListValue& value) {
      return value.array() != nullptr ? Array{Array(*value.array()), Array(*value.array())}
                                      : Array{value, value};
    };
    left = isLeftShared ? Array{left, left} : distinct(left);
    right = isLeftShared ? distinct(right) : Array{right, right};
  }

  EXPECT_EQ(shared, unshared);
  EXPECT_EQ(left, right);
}

TEST(PropertyListValue, ComparesManyContainersWithManyEqualOnesInProportionToTheirSize) {
  // Each level refers to every container of the one below, so that any of the left side's may meet
  // any of the right side's: hundreds of times as many pairs as there are containers.
  const auto levels = [] {
    constexpr std::size_t Width = 400;
    Array below(Width, 1);
    for (int level = 0; level < 3; ++level) {
      Array containers;
      for (std::size_t index = 0; index < Width; ++index) {
        containers.emplace_back(below);
      }
      below = std::move(containers);
    }
    return PropertyListValue(std::move(below));
  };

  EXPECT_EQ(levels(), levels());
}

TEST(PropertyListValue, ComparesAndReleasesAnyNesting) {
  const auto nested = [](int leaf) {
    PropertyListValue value = leaf;
    for (int depth = 0; depth < 50'000; ++depth) {
      value = depth % 3 == 0   ? PropertyListValue(PropertyListDictionary::of(
                                   PropertyListDictionary::Entry{"a"_text, std::move(value)}))
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
  for (int depth = 0; depth < 10'000; ++depth) {
    value = Array{value, value};
  }
  PropertyListValue copy = value;

  value = {};
  EXPECT_FALSE(held.expired());
  copy = {};
  EXPECT_TRUE(held.expired());
}

TEST(PropertyListDictionary, IsKeptInTheKeysByteOrder) {
  const PropertyListDictionary dictionary{{.key = "type"_text, .value = 1},
                                          {.key = "Type"_text, .value = 2},
                                          {.key = "typ"_text, .value = 3},
                                          {.key = "\xC3\xA9"_text, .value = 4},
                                          {.key = "type2"_text, .value = 5}};

  EXPECT_EQ(keysOf(dictionary), "Type typ type type2 \xC3\xA9 ");
  EXPECT_EQ(*dictionary.find("typ"), PropertyListValue(3));
}

TEST(PropertyListDictionary, OrdersKeysThatBeginAlike) {
  const PropertyListDictionary dictionary(
      std::vector<Entry>{{.key = "credentialID"_text, .value = 1},
                         {.key = "credentials"_text, .value = 2},
                         {.key = "credential"_text, .value = 3}});

  EXPECT_EQ(keysOf(dictionary), "credential credentialID credentials ");
}

TEST(PropertyListDictionary, TellsApartKeysThatDifferInZerosAtTheirEnd) {
  for (const std::string& longest : {"a\0\0"s, "a\0\0\0\0\0\0\0\0"s}) {
    const PropertyListDictionary dictionary(std::vector<Entry>{{.key = Text(longest), .value = 3},
                                                               {.key = Text("a\0"s), .value = 2},
                                                               {.key = "a"_text, .value = 1}});

    ASSERT_EQ(dictionary.size(), 3U);
    EXPECT_EQ(dictionary.entries()[0].key.view(), "a");
    EXPECT_EQ(dictionary.entries()[1].key.view(), "a\0"s);
    EXPECT_EQ(dictionary.entries()[2].key.view(), longest);
  }
}

TEST(PropertyListDictionary, CountsTheLastOfARepeatedKey) {
  const std::vector<Entry> entries = {{.key = "b"_text, .value = 1},
                                      {.key = "a"_text, .value = 2},
                                      {.key = "b"_text, .value = 3},
                                      {.key = "a"_text, .value = 4}};
  const PropertyListDictionary expected{{.key = "a"_text, .value = 4},
                                        {.key = "b"_text, .value = 3}};

  EXPECT_EQ(PropertyListDictionary(entries), expected);
  EXPECT_EQ(PropertyListDictionary({entries[0], entries[1], entries[2], entries[3]}), expected);
  EXPECT_EQ(PropertyListDictionary(std::vector<Entry>{{"a"_text, 1}, {"a"_text, 2}}),
            PropertyListDictionary({{"a"_text, 2}}));
}

TEST(PropertyListDictionary, TakesOrderedEntriesAsTheyAre) {
  const auto dictionary =
      PropertyListDictionary::ofOrdered({Entry{"a"_text, 1}, Entry{"b"_text, 2}});

  EXPECT_EQ(dictionary, PropertyListDictionary({{"b"_text, 2}, {"a"_text, 1}}));
}

TEST(PropertyListDictionary, FindsEveryKeyAndNoOtherHoweverManyThereAre) {
  for (const int size : {0, 1, 15, 16, 17, 100}) {
    PropertyListDictionary dictionary;
    for (int index = size; index > 0; --index) {
      dictionary.set(Text("key" + std::to_string(index)), index);
    }
    EXPECT_EQ(dictionary.size(), static_cast<std::size_t>(size));
    for (int index = 1; index <= size; ++index) {
      const auto* found = dictionary.find("key" + std::to_string(index));
      ASSERT_NE(found, nullptr) << index << " of " << size;
      EXPECT_EQ(found->integer(), index);
    }
    EXPECT_EQ(dictionary.find("key0"), nullptr);
    EXPECT_EQ(dictionary.find("key"), nullptr);
    EXPECT_EQ(dictionary.find("zzz"), nullptr);
  }
}

TEST(PropertyListDictionary, ReplacesTheValueOfAKeyThatIsSetAgain) {
  PropertyListDictionary dictionary{{.key = "a"_text, .value = 1}, {.key = "b"_text, .value = 2}};
  dictionary.set("a"_text, "new");

  EXPECT_EQ(dictionary, PropertyListDictionary({{"a"_text, "new"}, {"b"_text, 2}}));
}

TEST(PropertyListDictionary, EqualsWhateverOrderItWasGivenIn) {
  EXPECT_EQ(PropertyListDictionary({{"a"_text, 1}, {"b"_text, 2}}),
            PropertyListDictionary({{"b"_text, 2}, {"a"_text, 1}}));
  EXPECT_NE(PropertyListDictionary({{"a"_text, 1}}), PropertyListDictionary({{"b"_text, 1}}));
  EXPECT_NE(PropertyListDictionary({{"a"_text, 1}}), PropertyListDictionary({{"a"_text, 2}}));
}

}  // namespace
}  // namespace korvan
