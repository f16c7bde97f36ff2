// Every mistake of the broken hosts is found, by the right name, with a hint that names it.

#include <algorithm>
#include <cctype>
#include <ostream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "lab/check/broken-host/Mistake.h"
#include "lab/processes/Program_testing.h"
#include "lab/processes/Stage.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab::broken {

static void PrintTo(const Mistake& mistake, std::ostream* out) { *out << mistake.name; }

namespace {

std::string testName(const testing::TestParamInfo<Mistake>& info) {
  std::string name;
  bool capital = true;
  for (const char character : info.param.name) {
    name += capital ? static_cast<char>(std::toupper(character)) : character;
    capital = character == '-';
    if (capital) {
      name.pop_back();
    }
  }
  return name;
}

/// The names of the checks with an outcome, and the first hint among them.
struct Found {
  std::vector<std::string> names;
  std::string firstHint;
};

Found found(const std::vector<nlohmann::json>& lines, const std::string& outcome) {
  Found found;
  for (const auto& line : lines) {
    if (line.value("result", "") == outcome) {
      if (found.names.empty()) {
        found.firstHint = line.at("hint");
      }
      found.names.push_back(line.at("check"));
    }
  }
  return found;
}

class BrokenHosts : public testing::TestWithParam<Mistake> {
 protected:
  Program::Result checkHost() {
    const Mistake& mistake = GetParam();
    std::vector<std::string> command = {"check-host", "--json", "--container", stage_.container()};
    command.insert(command.end(), mistake.options.begin(), mistake.options.end());
    if (std::ranges::find(command, "--timeout") == command.end()) {
      command.insert(command.end(), {"--timeout", "2"});
    }
    if (mistake.launched) {
      command.insert(command.end(),
                     {"--launch", KORVAN_BROKEN_HOST " --mistake " + std::string(mistake.name) +
                                      " --container " + stage_.container().string() + " --vault " +
                                      stage_.file("vault").string()});
    } else {
      stage_.startHost(KORVAN_BROKEN_HOST, {"--mistake", std::string(mistake.name)}).nextEvent();
    }
    return runLab(command);
  }

  TemporaryDirectory directory_;
  Stage stage_{directory_.path()};
};

TEST_P(BrokenHosts, FailTheirChecksAndNoOthers) {
  const Mistake& mistake = GetParam();
  if (mistake.asRoot && ::geteuid() != 0) {
    GTEST_SKIP() << "needs root";
  }
  const auto result = checkHost();
  EXPECT_EQ(result.status, mistake.fails.empty() ? 0 : mistake.status)
      << result.output << result.errors;
  const auto lines = jsonLines(result.output);
  const Found failures = found(lines, "failed");
  const Found warnings = found(lines, "warned");
  EXPECT_THAT(failures.names, testing::ElementsAreArray(mistake.fails)) << result.output;
  EXPECT_THAT(warnings.names, testing::ElementsAreArray(mistake.warns)) << result.output;
  EXPECT_THAT(mistake.fails.empty() ? warnings.firstHint : failures.firstHint,
              testing::HasSubstr(mistake.hint));
}

/// One that does everything right, and takes a third of the timeout for each answer.
class SlowHost : public BrokenHosts {};

TEST_P(SlowHost, IsToldThatItIsTooSlowAndNothingElse) {
  const auto lines = jsonLines(checkHost().output);
  EXPECT_THAT(found(lines, "failed").names, testing::IsEmpty());
  const Found skipped = found(lines, "skipped");
  EXPECT_THAT(skipped.names,
              testing::ElementsAre("request.damaged", "client.leaves", "client.silent",
                                   "client.many", "host.leak", "registration.conditional"));
  for (const auto& line : lines) {
    if (line.value("result", "") == "skipped") {
      EXPECT_THAT(line.at("hint"), testing::HasSubstr("the host answers too slowly to tell: "));
    }
  }
}

/// It serves those who ask for nothing but what it would do anyway.
class HeedlessHost : public BrokenHosts {};

TEST_P(HeedlessHost, FailsWhatItDoesNotHeed) {
  const Found failures = found(jsonLines(checkHost().output), "failed");
  EXPECT_THAT(failures.names, testing::SizeIs(testing::Ge(10)));
  EXPECT_THAT(
      failures.names,
      testing::IsSupersetOf({"request.unknownType", "registration.algorithm",
                             "registration.excluded", "assertion.credential", "assertion.record",
                             "assertion.allowed", "assertion.relyingParty", "assertion.unknown",
                             "report.unknown", "report.accepted"}));
}

INSTANTIATE_TEST_SUITE_P(One, SlowHost, testing::Values(slowness()), testName);

INSTANTIATE_TEST_SUITE_P(One, HeedlessHost, testing::Values(heedlessness()), testName);

INSTANTIATE_TEST_SUITE_P(All, BrokenHosts, testing::ValuesIn(allMistakes()), testName);

}  // namespace
}  // namespace korvan::lab::broken
