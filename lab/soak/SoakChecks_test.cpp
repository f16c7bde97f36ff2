#include "lab/soak/SoakChecks.h"

#include <functional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/soak/ProcessCounts.h"
#include "lab/soak/RightOutcomes.h"

namespace korvan::lab::soak {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Event = SoakRecord::Event;

constexpr std::uint64_t RequestBytes = 300;
constexpr std::int64_t Start = 100;
constexpr std::int64_t End = 200;

/// The first request from `number` on that is of this type.
std::uint64_t numberOf(const SoakPlan& plan, Ask ask, std::uint64_t number = 0) {
  while (plan.askOf(number) != ask) {
    ++number;
  }
  return number;
}

SoakRecord received(std::uint64_t number, std::uint64_t bytes = RequestBytes) {
  return {.event = Event::received, .attempt = 1, .number = number, .bytes = bytes, .time = 150};
}

SoakRecord at(Event event, std::int64_t time) { return {.event = event, .time = time}; }

Outcome refusedConnection() {
  return Cancelled{
      .error = {.domain = ErrorDomain::extension,
                .code = 0,
                .userInfo = ErrorUserInfo{"Connecting to Korvan failed: Connection refused"}}};
}

/// A round of one request that went well.
class SoakChecks : public testing::Test {
 protected:
  explicit SoakChecks(Behaviour behaviour = Behaviour::answer) : plan(1, behaviour) {}

  [[nodiscard]] std::vector<std::string> flaws() const { return flawsOf(plan, round); }

  void expectOneFlaw(const std::string& words) const {
    EXPECT_THAT(flaws(), ElementsAre(HasSubstr(words)));
  }

  SoakPlan plan;
  const std::uint64_t number = numberOf(plan, Ask::silentAssertion);
  SoakRound round{.isUpAtStart = true,
                  .requests = {{.number = number,
                                .start = Start,
                                .end = End,
                                .outcomes = {rightOutcomes(plan, number, false).front()},
                                .attempts = {{.isSentWhole = true, .bytesSent = RequestBytes}}}},
                  .records = {received(number)}};
  SoakEvidence& request = round.requests.front();
};

TEST_F(SoakChecks, FindNothingWhereAllIsWell) { EXPECT_THAT(flaws(), IsEmpty()); }

TEST_F(SoakChecks, NoticeAWrongOutcome) {
  request.outcomes = {rightOutcomes(plan, number + 1, false).front()};
  expectOneFlaw("where it should be completed with an assertion for " +
                SoakPlan::relyingPartyOf(number));
}

TEST_F(SoakChecks, NoticeADoubledOutcome) {
  request.outcomes.push_back(request.outcomes.front());
  expectOneFlaw("had 2 outcomes instead of one: completed with an assertion");
}

TEST_F(SoakChecks, NoticeAMissingOutcome) {
  request.outcomes.clear();
  expectOneFlaw("had 0 outcomes instead of one.");
}

TEST_F(SoakChecks, NoticeARequestThatIsKept) {
  request.isKept = true;
  expectOneFlaw("is still held by something");
}

TEST_F(SoakChecks, NoticeASentRequestThatIsNotInTheLog) {
  round.records.clear();
  expectOneFlaw("was sent whole, but is not in the host's log");
}

TEST_F(SoakChecks, NoticeALoggedRequestThatWasNotSentWhole) {
  request.attempts.front() = {.isSentWhole = false, .bytesSent = 4};
  expectOneFlaw("is in the host's log with 300 bytes, but the extension sent 4");
}

TEST_F(SoakChecks, NoticeALoggedRequestOfOtherBytes) {
  round.records = {received(number, RequestBytes + 1)};
  expectOneFlaw("is in the host's log with 301 bytes");
}

TEST_F(SoakChecks, NoticeARequestThatIsLoggedTwice) {
  round.records.push_back(received(number));
  expectOneFlaw("is in the host's log once more than the extension made it");
}

TEST_F(SoakChecks, NoticeALoggedRequestThatNobodyMade) {
  round.records.push_back(received(number + 1));
  expectOneFlaw("is in the host's log once more than the extension made it");
}

TEST_F(SoakChecks, NoticeARequestThatArrivedAsAnother) {
  round.records.push_back({.event = Event::mistaken, .attempt = 1, .number = number});
  expectOneFlaw("reached the host as another request");
}

// While the host is down.

TEST_F(SoakChecks, NoticeAFailureWhileTheHostServed) {
  request.outcomes = {refusedConnection()};
  request.attempts = {{}};
  for (const auto& records : {std::vector<SoakRecord>(),
                              {at(Event::dying, 10), at(Event::ready, Start - 1)},
                              {at(Event::dying, End + 1)}}) {
    round.records = records;
    expectOneFlaw("Connection refused");
  }
}

TEST_F(SoakChecks, AllowAFailureWhileTheHostWasDown) {
  request.outcomes = {refusedConnection()};
  request.attempts = {{}};
  for (const auto& records : {std::vector<SoakRecord>{at(Event::dying, 150)},
                              {at(Event::dying, 10)},
                              {at(Event::dying, 10), at(Event::ready, 150)},
                              {at(Event::dying, 120), at(Event::ready, 150)}}) {
    round.records = records;
    EXPECT_THAT(flaws(), IsEmpty());
  }
}

TEST_F(SoakChecks, AllowAFailureBeforeTheFirstHost) {
  request.outcomes = {refusedConnection()};
  request.attempts = {{}};
  round.isUpAtStart = false;
  round.records = {at(Event::ready, 150)};
  EXPECT_THAT(flaws(), IsEmpty());
}

TEST_F(SoakChecks, NoticeAnOutcomeThatNoOutageExplains) {
  request.outcomes = {rightOutcomes(plan, number + 1, false).front()};
  round.records.push_back(at(Event::dying, 160));
  EXPECT_THAT(flaws(), ElementsAre(HasSubstr("where it should be")));
}

TEST_F(SoakChecks, AllowARequestThatDiedWithItsHostToBeMissingInTheLog) {
  round.records = {at(Event::dying, 150)};
  EXPECT_THAT(flaws(), IsEmpty());
}

TEST(IsUpAfter, FollowsTheLastRecord) {
  EXPECT_TRUE(isUpAfter(true, {}));
  EXPECT_FALSE(isUpAfter(false, {}));
  EXPECT_FALSE(isUpAfter(true, {at(Event::dying, 1)}));
  EXPECT_TRUE(isUpAfter(false, {at(Event::dying, 1), at(Event::ready, 2)}));
  EXPECT_FALSE(isUpAfter(false, {at(Event::received, 1)}));
}

// What the process holds.

constexpr ProcessCounts Before{.descriptors = 7, .threads = 1, .residentBytes = 20'000'000};

TEST(Growth, IsNoneWithinTheTolerances) {
  EXPECT_THAT(growthBetween(Before, Before), IsEmpty());
  ProcessCounts after = Before;
  after.threads += SpareThreads;
  after.residentBytes += ResidentTolerance;
  EXPECT_THAT(growthBetween(Before, after), IsEmpty());
}

TEST(Growth, OfOneDescriptorIsNoticed) {
  ProcessCounts after = Before;
  ++after.descriptors;
  EXPECT_THAT(growthBetween(Before, after),
              ElementsAre(HasSubstr("open descriptors grew from 7 to 8")));
}

TEST(Growth, OfThreadsBeyondTheSpareOnesIsNoticed) {
  ProcessCounts after = Before;
  after.threads += SpareThreads + 1;
  EXPECT_THAT(growthBetween(Before, after), ElementsAre(HasSubstr("threads grew from 1 to 4")));
}

#ifndef KORVAN_SANITIZED
TEST(Growth, OfMemoryBeyondTheToleranceIsNoticed) {
  ProcessCounts after = Before;
  after.residentBytes += ResidentTolerance + 1;
  EXPECT_THAT(growthBetween(Before, after),
              ElementsAre(HasSubstr("Resident memory in bytes grew from 20000000")));
}
#endif

}  // namespace
}  // namespace korvan::lab::soak
