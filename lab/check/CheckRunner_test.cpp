#include "lab/check/CheckRunner.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/check/Check.h"
#include "lab/system/TrustAnchor.h"

namespace korvan::lab::check {
namespace {

using testing::ElementsAre;

Result pass(CheckContext& /*context*/) { return passed(); }
Result fail(CheckContext& /*context*/) { return failed({}); }
Result failInAHelper(CheckContext& /*context*/) { throw CheckEnd(failed({})); }
Result failAsCheckC(CheckContext& /*context*/) {
  Result result = failed({.hint = "no answer"});
  result.because = "c";
  return result;
}
Result skip(CheckContext& /*context*/) { throw CheckEnd(skipped("nothing to check")); }
Result throwError(CheckContext& /*context*/) { throw std::runtime_error("no memory"); }
Result connect(CheckContext& context) {
  const Connection connection = context.connect();
  return passed();
}

/// Keeps a run as "name result hint".
class KeptReport final : public CheckReport {
 public:
  explicit KeptReport(std::vector<std::string>& lines) : lines_(lines) {}
  void end(const CheckRecord& record) override {
    lines_.push_back(
        std::string(record.check->name) + " " + std::string(nameOf(record.result.outcome)) +
        (record.result.findings.hint.empty() ? "" : " " + record.result.findings.hint));
  }
  void finish(const Counts& counts) override { lines_.push_back(std::to_string(counts.failed)); }

 private:
  std::vector<std::string>& lines_;
};

std::vector<std::string> run(const std::vector<Check>& checks, bool attended = true) {
  CheckContext context({.container = "/nowhere",
                        .trustAnchorPem = std::string(TrustAnchorPem),
                        .launch = {},
                        .attended = attended},
                       [](const auto&) {});
  std::vector<std::string> lines;
  CheckReports reports;
  reports.push_back(std::make_unique<KeptReport>(lines));
  std::ignore = runChecks(checks, context, reports);
  return lines;
}

Check check(std::string_view name, Result (*function)(CheckContext&),
            std::vector<std::string_view> after = {}, std::vector<Need> needs = {}) {
  return {.name = name,
          .passes = "",
          .needs = std::move(needs),
          .after = std::move(after),
          .see = "",
          .run = function};
}

TEST(CheckRunner, RunsChecksInOrderAndCountsFailures) {
  EXPECT_THAT(
      run({check("a", pass), check("b", fail), check("c", failInAHelper), check("d", skip)}),
      ElementsAre("a passed", "b failed", "c failed", "d skipped nothing to check", "2"));
}

TEST(CheckRunner, TakesAnExceptionForAFailure) {
  EXPECT_THAT(run({check("a", throwError)}),
              ElementsAre("a failed the check could not be made", "1"));
}

TEST(CheckRunner, SkipsWhatFollowsAFailureNamingTheFirst) {
  EXPECT_THAT(
      run({check("a", fail), check("b", pass, {"a"}), check("c", pass, {"b"}), check("d", pass)}),
      ElementsAre("a failed", "b skipped a failed", "c skipped a failed", "d passed", "1"));
}

TEST(CheckRunner, LeavesAFailureToTheCheckThatJudgesIt) {
  EXPECT_THAT(run({check("a", failAsCheckC), check("b", pass, {"a"}), check("c", failAsCheckC),
                   check("d", failAsCheckC)}),
              ElementsAre("a skipped c failed", "b skipped c failed", "c failed no answer",
                          "d skipped c failed", "1"));
}

TEST(CheckRunner, KeepsAFailureThatNoOtherCheckOfTheRunTells) {
  EXPECT_THAT(run({check("c", pass), check("a", failAsCheckC)}),
              ElementsAre("c passed", "a failed no answer", "1"));
  EXPECT_THAT(run({check("a", failAsCheckC)}), ElementsAre("a failed no answer", "1"));
}

TEST(CheckRunner, RunsWhatFollowsACheckThatWasSkippedOrLeftOut) {
  EXPECT_THAT(run({check("a", skip), check("b", pass, {"a"}), check("c", pass, {"left.out"})}),
              ElementsAre("a skipped nothing to check", "b passed", "c passed", "0"));
}

TEST(CheckRunner, SkipsWhatNeedsAProgramOrAPersonWhoIsMissing) {
  const std::vector<Check> checks = {check("a", pass, {}, {Need::program}),
                                     check("b", pass, {}, {Need::person})};
  EXPECT_THAT(run(checks), ElementsAre("a skipped needs --launch", "b passed", "0"));
  EXPECT_THAT(run(checks, false),
              ElementsAre("a skipped needs --launch",
                          "b skipped needs a person, whom --unattended leaves out", "0"));
}

TEST(CheckRunner, SkipsWhatNeedsTheHostAfterItIsGone) {
  EXPECT_THAT(
      run({check("a", connect, {}, {Need::host}), check("b", pass, {}, {Need::host}),
           check("c", pass)}),
      ElementsAre("a failed nobody listens", "b skipped nobody listens since a", "c passed", "1"));
}

TEST(CheckRunner, SkipsWhatNeedsAPasskeyWhenNoneIsMade) {
  EXPECT_THAT(
      run({check("a", pass, {}, {Need::passkey})}),
      ElementsAre(testing::StartsWith("a skipped no passkey could be made: connecting"), "0"));
}

}  // namespace
}  // namespace korvan::lab::check
