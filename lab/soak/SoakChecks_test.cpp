#include "lab/soak/SoakChecks.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/soak/Behavior.h"
#include "lab/soak/ProcessCounts.h"

namespace korvan::lab::soak {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Event = SoakRecord::Event;

constexpr std::uint64_t Digest = 300;
constexpr std::int64_t Start = 100;
constexpr std::int64_t End = 200;

SoakRecord received(std::uint64_t number, std::uint64_t digest = Digest) {
  return {.event = Event::received, .attempt = 1, .number = number, .digest = digest, .time = 150};
}

SoakRecord at(Event event, std::int64_t time) { return {.event = event, .time = time}; }

Outcome refusedConnection() {
  return Canceled{
      .error = {.domain = ErrorDomain::extension,
                .code = 0,
                .userInfo = ErrorUserInfo{"Connecting to Korvan failed: Connection refused"}}};
}

/// A silent sign-in that the host answers.
SoakRequest answered(std::uint64_t number) {
  return {.number = number, .ask = asks().data(), .behavior = behaviors().data()};
}

/// A round of one request that went well.
class SoakChecks : public testing::Test {
 protected:
  void expectOneFlaw(const std::string& words) const {
    EXPECT_THAT(flawsOf(round), ElementsAre(HasSubstr(words)));
  }

  SoakRound round{.isUpAtStart = true,
                  .requests = {{.request = answered(7),
                                .start = Start,
                                .end = End,
                                .outcomes = rightOutcomes(answered(7), false),
                                .attempts = {{.isRequestSent = true, .digest = Digest}}}},
                  .records = {received(7)}};
  SoakEvidence& evidence = round.requests.front();
};

TEST_F(SoakChecks, FindNothingWhereAllIsWell) { EXPECT_THAT(flawsOf(round), IsEmpty()); }

TEST_F(SoakChecks, NoticeAWrongOutcome) {
  evidence.outcomes = rightOutcomes(answered(8), false);
  expectOneFlaw("where it should be completed assertion for n7.example");
}

TEST_F(SoakChecks, NoticeADoubledOutcome) {
  evidence.outcomes.push_back(evidence.outcomes.front());
  expectOneFlaw("had 2 outcomes instead of one: completed assertion");
}

TEST_F(SoakChecks, NoticeAMissingOutcome) {
  evidence.outcomes.clear();
  expectOneFlaw("had 0 outcomes instead of one.");
}

TEST_F(SoakChecks, NoticeARequestThatIsKept) {
  evidence.isKept = true;
  expectOneFlaw("is still held by something");
}

TEST_F(SoakChecks, NoticeASentRequestThatIsNotInTheLog) {
  round.records.clear();
  expectOneFlaw("was sent whole, but is not in the host's log");
}

TEST_F(SoakChecks, NoticeALoggedRequestThatWasNotSentWhole) {
  evidence.attempts.front() = {.isRequestSent = false, .digest = Digest};
  expectOneFlaw("is in the host's log with other bytes than were sent");
}

TEST_F(SoakChecks, NoticeALoggedRequestOfOtherBytes) {
  round.records = {received(7, Digest + 1)};
  expectOneFlaw("is in the host's log with other bytes than were sent");
}

TEST_F(SoakChecks, NoticeARequestThatIsLoggedTwice) {
  round.records.push_back(received(7));
  expectOneFlaw("is in the host's log once more than the extension made it");
}

TEST_F(SoakChecks, NoticeALoggedRequestThatNobodyMade) {
  round.records.push_back(received(8));
  expectOneFlaw("is in the host's log once more than the extension made it");
}

// While the host is down.

TEST_F(SoakChecks, NoticeAFailureWhileTheHostServed) {
  evidence.outcomes = {refusedConnection()};
  evidence.attempts = {{}};
  for (const auto& records : {std::vector<SoakRecord>(),
                              {at(Event::dying, 10), at(Event::ready, Start - 1)},
                              {at(Event::dying, End + 1)}}) {
    round.records = records;
    expectOneFlaw("Connection refused");
  }
}

TEST_F(SoakChecks, AllowAFailureWhileTheHostWasDown) {
  evidence.outcomes = {refusedConnection()};
  evidence.attempts = {{}};
  for (const auto& records : {std::vector<SoakRecord>{at(Event::dying, 150)},
                              {at(Event::dying, 10)},
                              {at(Event::dying, 10), at(Event::ready, 150)},
                              {at(Event::dying, 120), at(Event::ready, 150)}}) {
    round.records = records;
    EXPECT_THAT(flawsOf(round), IsEmpty());
  }
}

TEST_F(SoakChecks, AllowAFailureBeforeTheFirstHost) {
  evidence.outcomes = {refusedConnection()};
  evidence.attempts = {{}};
  round.isUpAtStart = false;
  round.records = {at(Event::ready, 150)};
  EXPECT_THAT(flawsOf(round), IsEmpty());
}

TEST_F(SoakChecks, NoticeAnOutcomeThatNoOutageExplains) {
  evidence.outcomes = rightOutcomes(answered(8), false);
  round.records.push_back(at(Event::dying, 160));
  EXPECT_THAT(flawsOf(round), ElementsAre(HasSubstr("where it should be")));
}

TEST_F(SoakChecks, AllowARequestThatDiedWithItsHostToBeMissingInTheLog) {
  round.records = {at(Event::dying, 150)};
  EXPECT_THAT(flawsOf(round), IsEmpty());
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
  after.threads += spareThreads();
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
  after.threads += spareThreads() + 1;
  EXPECT_THAT(
      growthBetween(Before, after),
      ElementsAre(HasSubstr("threads grew from 1 to " + std::to_string(after.threads) + ";")));
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
