// The soak as people start it, with real hosts that misbehave.

#include <csignal>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/processes/Program_testing.h"
#include "lab/processes/Stage.h"

namespace korvan::lab::soak {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

TEST(SoakCommand, ShortRunPassesAndTellsItsSeedFirst) {
  const auto result = runLab({"soak", "--minutes", "0.04", "--seed", "12345"});
  EXPECT_EQ(result.status, 0) << result.output << result.errors;
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(result.output, AllOf(StartsWith("seed 12345\n"), HasSubstr("by type"),
                                   HasSubstr("by the host's part"), HasSubstr("by outcome"),
                                   HasSubstr("passed: every request")));
  EXPECT_FALSE(Stage::hasProcesses());
}

TEST(SoakCommand, DrawsASeedWhenNoneIsGiven) {
  Program first({KORVAN_LAB, "soak", "--minutes", "1"});
  Program second({KORVAN_LAB, "soak", "--minutes", "1"});
  const std::string line = first.readLine();
  EXPECT_THAT(line, StartsWith("seed "));
  EXPECT_NE(line, second.readLine());
  for (Program* const program : {&first, &second}) {
    program->signal(SIGTERM);
    EXPECT_EQ(program->finish().status, 128 + SIGTERM);
  }
}

TEST(SoakCommand, SaysWhatIsWrongWithItsArguments) {
  struct Case {
    std::vector<std::string> arguments;
    std::string words;
  };
  const std::string minutes = " is not a time; it must be a number of minutes above 0, such as 0.5";
  const std::string seed =
      " is not a seed; it must be a whole number from 0 to 18446744073709551615";
  for (const auto& [arguments, words] :
       {Case{{"soak"}, "--minutes is required"},
        Case{{"soak", "--minutes", "0"}, "\"0\"" + minutes},
        Case{{"soak", "--minutes", "-1"}, "\"-1\"" + minutes},
        Case{{"soak", "--minutes", "inf"}, "\"inf\"" + minutes},
        Case{{"soak", "--minutes", "1m"}, "\"1m\"" + minutes},
        Case{{"soak", "--minutes", "1", "--seed", "x"}, "\"x\"" + seed},
        Case{{"soak", "--minutes", "1", "--seed", "18446744073709551616"},
             "\"18446744073709551616\"" + seed}}) {
    const auto result = runLab(arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, AllOf(HasSubstr(words), HasSubstr("soak --help")));
  }
}

}  // namespace
}  // namespace korvan::lab::soak
