// Real hosts that SIGKILL ends at every stage of a request, or that send no valid answer.

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "lab/processes/Program_testing.h"
#include "lab/processes/SampleHostProcess.h"
#include "lab/processes/Stage.h"
#include "lab/soak/Behavior.h"
#include "lab/soak/SoakSite.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab::soak {
namespace {

using Event = SoakRecord::Event;
using testing::Contains;

/// The behaviors of these names, which are those that begin with one of them.
std::vector<const Behavior*> behaviorsNamed(const std::vector<std::string_view>& names) {
  std::vector<const Behavior*> found;
  for (const Behavior& behavior : behaviors()) {
    if (std::ranges::any_of(names, [&](auto name) { return behavior.name.starts_with(name); })) {
      found.push_back(&behavior);
    }
  }
  return found;
}

std::string nameOf(const testing::TestParamInfo<const Behavior*>& behavior) {
  return std::string(behavior.param->name);
}

class MisbehavingHost : public testing::TestWithParam<const Behavior*> {
 protected:
  void SetUp() override { GetParam()->partIn(request).script.writeTo(site.scriptOfAny()); }

  /// The one outcome of a call of this entry point.
  [[nodiscard]] nlohmann::json outcomeOf(const std::string& entryPoint,
                                         const std::string& hostApplication) const {
    const nlohmann::json call = {
        {"entryPoint", entryPoint},
        {"request",
         {{"class", "ASPasskeyCredentialRequest"},
          {"credentialIdentity", {{"relyingPartyIdentifier", "example.com"}}},
          {"clientDataHash", "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8"}}}};
    const auto result =
        runLab({"call", "--container", container(), "--host-application", hostApplication},
               call.dump() + "\n");
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    const auto lines = jsonLines(result.output);
    EXPECT_EQ(lines.size(), 1U) << result.output;
    return lines.empty() ? nlohmann::json() : lines.front();
  }

  [[nodiscard]] nlohmann::json silentOutcome() const {
    return outcomeOf("provideCredentialWithoutUserInteractionForRequest:", "none");
  }

  void expectRight(const nlohmann::json& outcome, bool isLaunched) const {
    std::vector<std::string> right;
    for (const Outcome& each : rightOutcomes(request, isLaunched)) {
      right.push_back(std::get<Canceled>(each).error.localizedDescription().value());
    }
    EXPECT_EQ(outcome.at("outcome"), "cancelled") << outcome;
    EXPECT_EQ(outcome.at("error").at("code"), 0) << outcome;
    EXPECT_THAT(right, Contains(outcome.at("error").at("localizedDescription"))) << outcome;
    EXPECT_EQ(outcome.at("noticeShown"), isLaunched) << outcome;
  }

  /// What the hosts have told since the last call.
  [[nodiscard]] std::vector<Event> events() {
    std::vector<Event> events;
    for (const SoakRecord& record : site.log.next()) {
      events.push_back(record.event);
    }
    return events;
  }

  [[nodiscard]] std::string container() const { return directory.path() / "site" / "container"; }

  TemporaryDirectory directory;
  const SoakRequest request{.ask = asks().data(), .behavior = GetParam()};
  SoakSite site{directory.path() / "site"};
};

using HostDeath = MisbehavingHost;
using WrongAnswer = MisbehavingHost;

TEST_P(HostDeath, EndsTheRequestOnceAndTheNextHostServesAgain) {
  SampleHostProcess host(site.program, {});
  ASSERT_EQ(host.nextEvent().at("event"), "ready");
  expectRight(silentOutcome(), false);
  EXPECT_THROW(host.nextEvent(), std::runtime_error) << "The host is to have ended.";

  SampleHostProcess next(KORVAN_SAMPLE_HOST, {"--container", container()});
  ASSERT_EQ(next.nextEvent().at("event"), "ready");
  EXPECT_EQ(silentOutcome().at("outcome"), "completedAssertion");
}

TEST_P(HostDeath, OfAHostThatTheExtensionOpenedEndsInTheNotice) {
  expectRight(outcomeOf("prepareInterfaceToProvideCredentialForRequest:", site.program), true);
  EXPECT_THAT(events(), Contains(Event::dying));
}

INSTANTIATE_TEST_SUITE_P(AtEveryStage, HostDeath, testing::ValuesIn(behaviorsNamed({"die"})),
                         nameOf);

TEST_P(WrongAnswer, OfAHostThatTheExtensionOpenedEndsInTheNotice) {
  const Stage stage(directory.path() / "site");
  expectRight(outcomeOf("prepareInterfaceToProvideCredentialForRequest:",
                        stage.writeLauncher({}, site.program)),
              true);
  EXPECT_THAT(events(), Contains(Event::received));
}

INSTANTIATE_TEST_SUITE_P(
    OfEachKind, WrongAnswer,
    testing::ValuesIn(behaviorsNamed({"sendArray", "sendGarbage", "announce"})), nameOf);

}  // namespace
}  // namespace korvan::lab::soak
