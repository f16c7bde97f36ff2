// The command as people and scripts call it.

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/check/Catalog.h"
#include "lab/processes/Program_testing.h"
#include "lab/processes/Stage.h"
#include "lab/support/FileContents.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab::check {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using Arguments = std::vector<std::string>;

class CheckHost : public testing::Test {
 protected:
  void startSampleHost() { stage_.startHost(KORVAN_SAMPLE_HOST, {}).nextEvent(); }

  [[nodiscard]] Program::Result checkHost(Arguments arguments) const {
    arguments.insert(arguments.begin(), {"check-host", "--container", stage_.container()});
    return runLab(std::move(arguments));
  }

  [[nodiscard]] std::string launchCommand(const std::string& more = "") const {
    return std::string(KORVAN_SAMPLE_HOST) + " --container " + stage_.container().string() + more;
  }

  TemporaryDirectory directory_;
  Stage stage_{directory_.path()};
};

TEST_F(CheckHost, FindsNothingWrongWithTheSampleHost) {
  startSampleHost();
  const auto result = checkHost({});
  EXPECT_EQ(result.status, 0) << result.output << result.errors;
  EXPECT_THAT(result.output,
              AllOf(HasSubstr("✓ container.exists\n"), HasSubstr("\n\ncheck-host: passing · ")));
}

TEST_F(CheckHost, FindsNothingWrongWithTheSampleHostThatItLaunches) {
  const auto result =
      checkHost({"--launch", launchCommand(" --vault " + stage_.file("vault").string())});
  EXPECT_EQ(result.status, 0) << result.output << result.errors;
  EXPECT_THAT(result.output, HasSubstr("0 failed, 0 warned, 0 skipped"));
  EXPECT_FALSE(Stage::hasProcesses());
}

TEST_F(CheckHost, TellsThatThereIsNoHostByItsStatus) {
  const auto result = checkHost({});
  EXPECT_EQ(result.status, 3) << result.output << result.errors;
  EXPECT_THAT(result.output, HasSubstr("does not exist; is that a typing error?"));
  EXPECT_FALSE(std::filesystem::exists(stage_.container()));
}

TEST_F(CheckHost, RefusesAPatternThatMatchesNoCheck) {
  const auto result = checkHost({"--only", "farme.*"});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.errors, HasSubstr("\"farme.*\" matches no check"));
}

TEST_F(CheckHost, RefusesToLaunchBesideAHostThatListens) {
  startSampleHost();
  const auto result = checkHost({"--launch", launchCommand()});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.errors, HasSubstr("already; stop it, or leave out --launch"));
}

TEST_F(CheckHost, RunsOnlyTheChosenChecks) {
  startSampleHost();
  const auto result = checkHost({"--only", "container.*", "--skip", "*.mode", "--json"});
  EXPECT_THAT(jsonLines(result.output), testing::SizeIs(2));
  EXPECT_THAT(result.output, StartsWith(R"({"check":"container.exists","result":"passed")"));
}

TEST_F(CheckHost, WritesJunitBesideTheOutput) {
  startSampleHost();
  const std::string file = stage_.file("results.xml");
  const auto result = checkHost({"--only", "container.*", "--junit", file});
  EXPECT_THAT(result.output, HasSubstr("✓ container.exists"));
  EXPECT_THAT(contentsOf(file),
              HasSubstr("<testcase classname=\"container\" name=\"container.mode\""));
}

TEST(CheckHostList, PrintsEveryCheckAndSoDoesTheHelp) {
  const std::string list = listOf(allChecks());
  EXPECT_EQ(runLab({"check-host", "--list"}).output, list);
  EXPECT_THAT(runLab({"check-host", "--help"}).output, testing::EndsWith(list));
}

}  // namespace
}  // namespace korvan::lab::check
