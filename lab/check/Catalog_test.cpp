#include "lab/check/Catalog.h"

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace korvan::lab::check {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::ThrowsMessage;
using testing::UnorderedElementsAre;

Check named(std::string_view name) {
  return {.name = name, .passes = "it is well", .needs = {}, .after = {}, .see = {}, .run = {}};
}

const std::vector<Check>& someChecks() {
  static const std::vector<Check> checks = {named("frame.order"), named("frame.close"),
                                            named("body.binary")};
  return checks;
}

std::vector<std::string_view> chosen(const std::vector<std::string>& only,
                                     const std::vector<std::string>& skip) {
  std::vector<std::string_view> names;
  for (const Check& check : chosenChecks(someChecks(), only, skip)) {
    names.push_back(check.name);
  }
  return names;
}

TEST(Catalog, ChoosesAllChecksWithoutPatterns) {
  EXPECT_THAT(chosen({}, {}), ElementsAre("frame.order", "frame.close", "body.binary"));
}

TEST(Catalog, ChoosesTheChecksThatMatchAPatternAndNoneToSkip) {
  EXPECT_THAT(chosen({"frame.*"}, {}), ElementsAre("frame.order", "frame.close"));
  EXPECT_THAT(chosen({"frame.order", "body.*"}, {}), ElementsAre("frame.order", "body.binary"));
  EXPECT_THAT(chosen({}, {"*.order"}), ElementsAre("frame.close", "body.binary"));
  EXPECT_THAT(chosen({"frame.*"}, {"frame.close"}), ElementsAre("frame.order"));
}

TEST(Catalog, RefusesAPatternThatMatchesNoCheck) {
  EXPECT_THAT([] { std::ignore = chosen({"farme.*"}, {}); },
              ThrowsMessage<std::invalid_argument>(HasSubstr("\"farme.*\" matches no check")));
  EXPECT_THAT([] { std::ignore = chosen({}, {"farme.*"}); },
              ThrowsMessage<std::invalid_argument>(HasSubstr("\"farme.*\" matches no check")));
}

TEST(Catalog, PutsAChosenCheckAfterWhatALeftOutOneWouldFollow) {
  std::vector<Check> checks = someChecks();
  checks[1].after = {"frame.order"};
  checks[2].after = {"frame.close"};
  EXPECT_THAT(chosenChecks(checks, {}, {"frame.close"}).back().after,
              UnorderedElementsAre("frame.close", "frame.order"));
}

TEST(Catalog, ListsNamesAndWhatPasses) {
  EXPECT_EQ(listOf({named("a.b"), named("long.name")}),
            "a.b        it is well\nlong.name  it is well\n");
}

TEST(Catalog, GivesEveryCheckANameOfItsOwnAndAllItNeeds) {
  std::set<std::string_view> names;
  for (const Check& check : allChecks()) {
    EXPECT_TRUE(names.insert(check.name).second) << check.name;
    EXPECT_THAT(check.name, testing::MatchesRegex("[a-z]+[.][a-zA-Z]+"));
    EXPECT_NE(check.passes, "") << check.name;
    EXPECT_NE(check.see, "") << check.name;
    EXPECT_NE(check.run, nullptr) << check.name;
  }
}

TEST(Catalog, HasEveryCheckAfterThoseThatItNames) {
  std::set<std::string_view> names;
  for (const Check& check : allChecks()) {
    for (const std::string_view earlier : check.after) {
      EXPECT_TRUE(names.contains(earlier)) << check.name << " is before " << earlier;
    }
    names.insert(check.name);
  }
}

}  // namespace
}  // namespace korvan::lab::check
