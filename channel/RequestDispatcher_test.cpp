#include "channel/RequestDispatcher.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "channel/HostIdentifiers.h"
#include "platform/fake/FakePlatform.h"

namespace korvan {
namespace {

constexpr std::string_view CouldNotConnectInTime =
    "Korvan opened, but the credential provider could not connect to it in time.";

ProviderMessage unavailable(std::string_view description) {
  return failureResponse("unavailable", description);
}

ProviderMessage unavailableWithNotice(std::string_view description) {
  ProviderMessage response = unavailable(description);
  response.insert_or_assign("showUnavailableUI", true);
  return response;
}

std::string connectionRefused() {
  return std::string("Connecting to Korvan failed: ") + std::strerror(ECONNREFUSED);
}

class RequestDispatcher : public testing::Test {
 protected:
  // Waiting work and the platform own each other.
  void TearDown() override { platform->queues.discard(); }

  /// Submits the request and lets everything run.
  void dispatch() {
    submit();
    platform->queues.runAll();
  }

  void submit() {
    dispatchProviderRequest(platform->services(), controller, request,
                            [this](const ProviderMessage& response) {
                              responses.push_back(response);
                              completedOnMain = platform->queues.isOnMain();
                            });
  }

  void expectOnlyResponse(const ProviderMessage& expected) {
    ASSERT_EQ(responses.size(), 1U);
    EXPECT_EQ(responses[0], expected);
    EXPECT_TRUE(completedOnMain);
    EXPECT_EQ(platform->localSockets.openDescriptors(), 0U);
  }

  void expectNoLaunch() {
    EXPECT_TRUE(platform->workspace.openedURLs.empty());
    EXPECT_TRUE(platform->clock.sleeps.empty());
    EXPECT_EQ(platform->localSockets.connections.size(), 1U);
  }

  void allowUserInteraction() { request.insert_or_assign("allowsUserInteraction", true); }

  FakePeer answering(PropertyListValue value) {
    return platform->answering(
        [value = std::move(value)](const ProviderMessage&) { return value; });
  }

  std::shared_ptr<FakePlatform> platform = std::make_shared<FakePlatform>();
  std::shared_ptr<int> controller = std::make_shared<int>();
  ProviderMessage request{{"type", "assertion"}, {"allowsUserInteraction", false}};
  const ProviderMessage hostsAnswer{{"ok", true}, {"extra", 7}};
  std::vector<ProviderMessage> responses;
  bool completedOnMain = false;
};

// On the caller's thread.

TEST_F(RequestDispatcher, ReturnsBeforeTheExchange) {
  platform->localSockets.peer = answering(hostsAnswer);
  submit();
  EXPECT_TRUE(platform->localSockets.connections.empty());
  EXPECT_TRUE(responses.empty());
  EXPECT_EQ(platform->queues.waitingInBackground(), 1U);
}

TEST_F(RequestDispatcher, AsksForTheHostsAppGroupAndConnectsToTheSocketInItsContainer) {
  dispatch();
  EXPECT_EQ(platform->appGroupContainers.requestedGroups,
            std::vector<std::string>{std::string(AppGroupIdentifier)});
  EXPECT_EQ(platform->localSockets.connections[0].path, "/groups/korvan/acp.sock");
}

TEST_F(RequestDispatcher, ContainerWithATrailingSlashGivesTheSameSocketPath) {
  platform->appGroupContainers.path = "/groups/korvan/";
  dispatch();
  EXPECT_EQ(platform->localSockets.connections[0].path, "/groups/korvan/acp.sock");
}

TEST_F(RequestDispatcher, MissingContainerIsAnsweredBeforeReturningAndStartsNothing) {
  platform->appGroupContainers.path = std::nullopt;
  submit();
  expectOnlyResponse(unavailable("The Korvan App Group is unavailable."));
  EXPECT_EQ(platform->queues.waitingInBackground() + platform->queues.waitingOnMain(), 0U);
}

TEST_F(RequestDispatcher, EmptySocketPathCountsAsAMissingContainer) {
  platform->appGroupContainers.path = "";
  submit();
  expectOnlyResponse(unavailable("The Korvan App Group is unavailable."));
}

TEST_F(RequestDispatcher, RequestThatCannotBeEncodedIsAnsweredBeforeReturningAndStartsNothing) {
  request.insert_or_assign("broken", PropertyListValue());
  submit();
  expectOnlyResponse(failureResponse("failed", "Null cannot be encoded: broken"));
  EXPECT_EQ(platform->queues.waitingInBackground() + platform->queues.waitingOnMain(), 0U);
}

TEST_F(RequestDispatcher, EncodingErrorWithoutWordsGetsAFixedDescription) {
  platform->propertyLists.encodingError = PropertyListError{};
  submit();
  expectOnlyResponse(failureResponse("failed", "Unable to encode the request."));
}

TEST_F(RequestDispatcher, MissingContainerGoesBeforeARequestThatCannotBeEncoded) {
  platform->appGroupContainers.path = std::nullopt;
  platform->propertyLists.encodingError = PropertyListError{"never shown"};
  submit();
  expectOnlyResponse(unavailable("The Korvan App Group is unavailable."));
}

TEST_F(RequestDispatcher, EarlyFailuresWithoutACompletionAreSilent) {
  platform->propertyLists.encodingError = PropertyListError{};
  dispatchProviderRequest(platform->services(), controller, request, nullptr);
  platform->appGroupContainers.path = std::nullopt;
  dispatchProviderRequest(platform->services(), controller, request, nullptr);
  EXPECT_EQ(platform->queues.waitingInBackground() + platform->queues.waitingOnMain(), 0U);
}

// The outcomes, row by row.

TEST_F(RequestDispatcher, HostsDictionaryIsPassedOnUnchanged) {
  allowUserInteraction();
  const ProviderMessage refusal{{"ok", false}, {"errorCode", "userCanceled"}};
  for (const ProviderMessage& answer : {hostsAnswer, refusal, ProviderMessage()}) {
    responses.clear();
    platform->localSockets.peer = answering(answer);
    dispatch();
    expectOnlyResponse(answer);
  }
  EXPECT_EQ(platform->requests, std::vector<ProviderMessage>(3, request));
  EXPECT_TRUE(platform->workspace.countedIdentifiers.empty());
  EXPECT_TRUE(platform->workspace.openedURLs.empty());
}

TEST_F(RequestDispatcher, AnswerThatDoesNotDecodeIsUnavailableWithTheDecodersWords) {
  for (const bool interaction : {false, true}) {
    responses.clear();
    request.insert_or_assign("allowsUserInteraction", interaction);
    platform->localSockets.peer = FakePlatform::answeringGarbage();
    dispatch();
    expectOnlyResponse(unavailable("Not a property list."));
  }
  EXPECT_TRUE(platform->workspace.countedIdentifiers.empty());
}

TEST_F(RequestDispatcher, DecodingErrorWithoutWordsGetsAFixedDescription) {
  platform->propertyLists.decodingError = PropertyListError{};
  platform->localSockets.peer = FakePlatform::answeringGarbage();
  dispatch();
  expectOnlyResponse(unavailable("Korvan returned an invalid response."));
}

TEST_F(RequestDispatcher, AnswerThatIsNotADictionaryIsUnavailable) {
  for (const PropertyListValue& value : {PropertyListValue(PropertyListValue::Array{true}),
                                         PropertyListValue("text"), PropertyListValue(7)}) {
    responses.clear();
    platform->localSockets.peer = answering(value);
    dispatch();
    expectOnlyResponse(unavailable("Korvan returned an invalid response."));
  }
}

TEST_F(RequestDispatcher, FailureAfterConnectingIsUnavailableWithTheExchangesWords) {
  for (const bool interaction : {false, true}) {
    responses.clear();
    request.insert_or_assign("allowsUserInteraction", interaction);
    dispatch();
    expectOnlyResponse(unavailable("Korvan closed the credential-provider connection."));
  }
  EXPECT_TRUE(platform->workspace.countedIdentifiers.empty());
  EXPECT_TRUE(platform->workspace.openedURLs.empty());
}

TEST_F(RequestDispatcher, UntrustedHostIsUnavailableAndNotOpened) {
  allowUserInteraction();
  platform->codeSigning.checkStatuses = {CodeRequirementFailed};
  dispatch();
  expectOnlyResponse(
      unavailable("Validating the Korvan peer code signature failed: the signature is not good"));
  expectNoLaunch();
}

TEST_F(RequestDispatcher, TooLongASocketPathIsUnavailableAndNotOpened) {
  allowUserInteraction();
  platform->appGroupContainers.path = std::string(104, 'p');
  dispatch();
  expectOnlyResponse(unavailable("The Korvan connection path is too long."));
  expectNoLaunch();
}

TEST_F(RequestDispatcher, RefusedConnectionWithoutInteractionIsUnavailableAndNotOpened) {
  platform->localSockets.peer = FakePlatform::refusing();
  dispatch();
  expectOnlyResponse(unavailable(connectionRefused()));
  EXPECT_TRUE(platform->workspace.countedIdentifiers.empty());
  expectNoLaunch();
}

TEST_F(RequestDispatcher, MissingAllowsUserInteractionCountsAsFalse) {
  request = {{"type", "assertion"}};
  platform->localSockets.peer = FakePlatform::refusing();
  dispatch();
  expectOnlyResponse(unavailable(connectionRefused()));
  EXPECT_TRUE(platform->workspace.countedIdentifiers.empty());
  expectNoLaunch();
}

TEST_F(RequestDispatcher, HostThatRunsButDoesNotListenIsNotOpened) {
  allowUserInteraction();
  platform->localSockets.peer = FakePlatform::refusing();
  platform->workspace.running = 1;
  dispatch();
  expectOnlyResponse(unavailable(connectionRefused()));
  EXPECT_EQ(platform->workspace.countedIdentifiers,
            std::vector<std::string>{std::string(HostBundleIdentifier)});
  EXPECT_FALSE(platform->workspace.countedOnMain);
  expectNoLaunch();
}

TEST_F(RequestDispatcher, HostThatCannotBeOpenedIsUnavailableWithTheNotice) {
  allowUserInteraction();
  platform->localSockets.peer = FakePlatform::refusing();
  platform->workspace.opens = false;
  dispatch();
  expectOnlyResponse(unavailableWithNotice("Korvan could not be opened."));
  EXPECT_EQ(platform->workspace.openedURLs.size(), 1U);
  EXPECT_EQ(platform->localSockets.connections.size(), 1U);
  EXPECT_TRUE(platform->clock.sleeps.empty());
  EXPECT_EQ(platform->clock.readings, 0U);
}

TEST_F(RequestDispatcher, OpenedHostThatComesUpInTimeAnswers) {
  allowUserInteraction();
  platform->localSockets.nextPeers = {FakePlatform::refusing(), FakePlatform::refusing(),
                                      FakePlatform::refusing(), answering(hostsAnswer)};
  dispatch();
  expectOnlyResponse(hostsAnswer);
  EXPECT_EQ(platform->clock.sleeps, (std::vector<std::uint32_t>(3, 200'000)));
  EXPECT_EQ(platform->requests, std::vector<ProviderMessage>{request});
}

TEST_F(RequestDispatcher, HostIsOpenedOnTheMainThreadThroughItsURL) {
  allowUserInteraction();
  platform->localSockets.nextPeers = {FakePlatform::refusing(), answering(hostsAnswer)};
  dispatch();
  EXPECT_EQ(platform->workspace.openedURLs,
            std::vector<std::string>{"korvan:///launch?source=credential-provider"});
  EXPECT_TRUE(platform->workspace.openedOnMain);
}

TEST_F(RequestDispatcher, OpenedHostThatNeverListensTimesOutWithTheNotice) {
  allowUserInteraction();
  platform->localSockets.peer = FakePlatform::refusing();
  dispatch();
  expectOnlyResponse(unavailableWithNotice(CouldNotConnectInTime));
  EXPECT_EQ(platform->localSockets.connections.size(), 1U + platform->clock.sleeps.size());
}

TEST_F(RequestDispatcher, OpenedHostThatFailsAfterConnectingEndsTheWaiting) {
  allowUserInteraction();
  platform->localSockets.nextPeers = {FakePlatform::refusing(), FakePlatform::refusing(),
                                      FakePeer()};
  dispatch();
  expectOnlyResponse(unavailableWithNotice(CouldNotConnectInTime));
  EXPECT_EQ(platform->localSockets.connections.size(), 3U);
}

TEST_F(RequestDispatcher, OpenedHostThatIsNotTrustedEndsTheWaiting) {
  allowUserInteraction();
  platform->localSockets.nextPeers = {FakePlatform::refusing()};
  platform->codeSigning.checkStatuses = {CodeRequirementFailed};
  dispatch();
  expectOnlyResponse(unavailableWithNotice(CouldNotConnectInTime));
  EXPECT_EQ(platform->localSockets.connections.size(), 2U);
}

TEST_F(RequestDispatcher, OpenedHostWhoseAnswerIsNoDictionaryIsReportedAsNotInTime) {
  allowUserInteraction();
  for (const FakePeer& peer :
       {answering(PropertyListValue::Array{}), FakePlatform::answeringGarbage()}) {
    responses.clear();
    platform->localSockets.nextPeers = {FakePlatform::refusing(), peer};
    dispatch();
    expectOnlyResponse(unavailableWithNotice(CouldNotConnectInTime));
  }
}

// The wait for a host that was opened.

TEST_F(RequestDispatcher, FirstRetryComes200MillisecondsAfterTheOpenReturned) {
  allowUserInteraction();
  platform->clock.uptime = 0;
  platform->workspace.onOpen = [&] { platform->clock.uptime += 100; };
  double connectedAt = 0;
  platform->localSockets.nextPeers = {FakePlatform::refusing(), answering(hostsAnswer)};
  platform->localSockets.nextPeers[1].onRecv = [&] { connectedAt = platform->clock.uptime; };
  dispatch();
  EXPECT_DOUBLE_EQ(connectedAt, 100.2);
}

TEST_F(RequestDispatcher, BudgetOfFiveSecondsStartsWhenTheOpenReturned) {
  allowUserInteraction();
  platform->clock.uptime = 0;
  platform->localSockets.peer = FakePlatform::refusing();
  platform->workspace.onOpen = [&] { platform->clock.uptime = 60; };
  dispatch();
  // 25 sleeps of 0.2 s, and a 26th if rounding leaves their sum just below 5.
  EXPECT_GE(platform->clock.sleeps.size(), 25U);
  EXPECT_LE(platform->clock.sleeps.size(), 26U);
  EXPECT_NEAR(platform->clock.uptime, 65, 0.21);
}

TEST_F(RequestDispatcher, NoRetryStartsOnceTheFiveSecondsAreOver) {
  allowUserInteraction();
  platform->localSockets.peer = FakePlatform::refusing();
  platform->workspace.onOpen = [&] { platform->clock.uptime = 16; };
  platform->clock.onSleep = [&] { platform->clock.uptime = 21; };
  dispatch();
  EXPECT_EQ(platform->clock.sleeps.size(), 1U);
  expectOnlyResponse(unavailableWithNotice(CouldNotConnectInTime));
}

TEST_F(RequestDispatcher, RetryStartsWhileAnythingOfTheFiveSecondsIsLeft) {
  allowUserInteraction();
  platform->localSockets.nextPeers = {FakePlatform::refusing(), FakePlatform::refusing(),
                                      answering(hostsAnswer)};
  platform->workspace.onOpen = [&] { platform->clock.uptime = 16; };
  platform->clock.onSleep = [&] { platform->clock.uptime = std::nextafter(21, 0); };
  dispatch();
  EXPECT_EQ(platform->clock.sleeps.size(), 2U);
  expectOnlyResponse(hostsAnswer);
}

TEST_F(RequestDispatcher, HostThatAnswersOnceTheTimeIsOverIsStillHeard) {
  allowUserInteraction();
  platform->localSockets.nextPeers = {FakePlatform::refusing(), answering(hostsAnswer)};
  platform->clock.onSleep = [&] { platform->clock.uptime += 100; };
  dispatch();
  expectOnlyResponse(hostsAnswer);
}

TEST_F(RequestDispatcher, DeadlineIsReadOnceAndTheClockOnceARetry) {
  allowUserInteraction();
  platform->localSockets.nextPeers = {FakePlatform::refusing(), FakePlatform::refusing(),
                                      FakePlatform::refusing(), FakePeer()};
  dispatch();
  // The retry that connected ends the waiting before the clock is asked.
  EXPECT_EQ(platform->clock.readings, 1U + 2U);
}

// Who gets the answer.

TEST_F(RequestDispatcher, WithoutACompletionTheExchangeStillTakesPlace) {
  platform->localSockets.peer = answering(hostsAnswer);
  dispatchProviderRequest(platform->services(), controller, request, nullptr);
  platform->queues.runAll();
  EXPECT_EQ(platform->requests, std::vector<ProviderMessage>{request});
}

TEST_F(RequestDispatcher, WithoutACompletionNoOutcomeCallsAnything) {
  allowUserInteraction();
  platform->localSockets.nextPeers = {answering(hostsAnswer), FakePlatform::answeringGarbage(),
                                      FakePlatform::refusing()};
  platform->workspace.opens = false;
  // To call an empty completion would end the process.
  for (int peer = 0; peer < 3; ++peer) {
    dispatchProviderRequest(platform->services(), controller, request, nullptr);
    platform->queues.runAll();
  }
  EXPECT_EQ(platform->requests.size(), 1U);
  EXPECT_EQ(platform->localSockets.connections.size(), 3U);
  EXPECT_EQ(platform->workspace.openedURLs.size(), 1U);
}

TEST_F(RequestDispatcher, ControllerThatGoesWhileTheHostThinksSuppressesTheCompletionOnly) {
  platform->localSockets.peer = answering(hostsAnswer);
  platform->localSockets.peer.onRecv = [&] { controller.reset(); };
  dispatch();
  EXPECT_TRUE(responses.empty());
  EXPECT_EQ(platform->requests.size(), 1U);
  EXPECT_EQ(platform->localSockets.connections[0].calls.back(), "close");
}

TEST_F(RequestDispatcher, ControllerThatHasGoneDoesNotStopTheWaitForTheHost) {
  allowUserInteraction();
  platform->localSockets.nextPeers = {FakePlatform::refusing(), FakePlatform::refusing(),
                                      answering(hostsAnswer)};
  platform->workspace.onOpen = [&] { controller.reset(); };
  dispatch();
  EXPECT_TRUE(responses.empty());
  EXPECT_EQ(platform->requests.size(), 1U);
}

TEST_F(RequestDispatcher, BackgroundWorkDoesNotHoldTheController) {
  submit();
  EXPECT_EQ(controller.use_count(), 1);
}

/// Tells whether the last reference to it was released on the main thread.
struct ReleaseWatch {
  ReleaseWatch(const FakeQueues& watched, bool& result) : queues(watched), releasedOnMain(result) {}
  ReleaseWatch(const ReleaseWatch&) = delete;
  ReleaseWatch& operator=(const ReleaseWatch&) = delete;
  ~ReleaseWatch() { releasedOnMain = queues.isOnMain(); }

  const FakeQueues& queues;
  bool& releasedOnMain;
};

TEST_F(RequestDispatcher, CompletionIsKeptUntilItHasRunAndReleasedOnTheMainThread) {
  bool releasedOnMain = false;
  auto watch = std::make_shared<ReleaseWatch>(platform->queues, releasedOnMain);
  const std::weak_ptr<ReleaseWatch> alive = watch;
  dispatchProviderRequest(platform->services(), controller, request,
                          [watch = std::move(watch)](const ProviderMessage&) {});
  EXPECT_TRUE(platform->queues.runOneInBackground());
  EXPECT_FALSE(alive.expired());
  platform->queues.runMain();
  EXPECT_TRUE(alive.expired());
  EXPECT_TRUE(releasedOnMain);
}

TEST_F(RequestDispatcher, CompletionIsReleasedOnTheMainThreadHoweverSoonItRuns) {
  platform->queues.mainIsFaster = true;
  bool releasedOnMain = false;
  dispatchProviderRequest(platform->services(), controller, request,
                          [watch = std::make_shared<ReleaseWatch>(
                               platform->queues, releasedOnMain)](const ProviderMessage&) {});
  EXPECT_TRUE(platform->queues.runOneInBackground());
  EXPECT_TRUE(releasedOnMain);
}

TEST_F(RequestDispatcher, RequestsDoNotWaitForEachOther) {
  platform->localSockets.peer = answering(hostsAnswer);
  submit();
  submit();
  EXPECT_EQ(platform->queues.waitingInBackground(), 2U);
  platform->queues.runAll();
  EXPECT_EQ(responses.size(), 2U);
  EXPECT_EQ(platform->localSockets.connections.size(), 2U);
}

TEST_F(RequestDispatcher, PlatformLivesAsLongAsTheWork) {
  platform->localSockets.peer = answering(hostsAnswer);
  submit();
  FakePlatform* const bare = platform.get();
  const std::weak_ptr<FakePlatform> alive = platform;
  // The queued work refers to the platform, and the platform to the queued work, until it has run.
  platform.reset();
  ASSERT_FALSE(alive.expired());
  EXPECT_TRUE(bare->queues.runOneInBackground());
  platform = alive.lock();
  platform->queues.runMain();
  EXPECT_EQ(responses.size(), 1U);
}

}  // namespace
}  // namespace korvan
