#include "lab/soak/SoakRequest.h"

#include <set>
#include <utility>

#include <gtest/gtest.h>

#include "lab/soak/Behavior.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab::soak {
namespace {

TEST(SoakPlan, ChoosesTheseForSeedOne) {
  // A seed that was reported is worth something only as long as it stays so.
  SoakPlan plan(1);
  for (const auto& [ask, behavior] :
       {std::pair("configuration", "answer"), std::pair("silent assertion", "closeInAnswerPrefix"),
        std::pair("configuration", "answerOtherRequest")}) {
    const SoakRequest request = plan.next();
    EXPECT_EQ(request.ask->name, ask);
    EXPECT_EQ(request.behavior->name, behavior);
  }
}

TEST(SoakPlan, ChoosesEveryTypeAndEveryBehaviorThatHasAWeight) {
  SoakPlan plan(3);
  std::set<std::pair<const Ask*, const Behavior*>> chosen;
  for (int request = 0; request < 400'000; ++request) {
    const SoakRequest next = plan.next();
    chosen.emplace(next.ask, next.behavior);
  }
  for (const Ask& ask : asks()) {
    for (const Behavior& behavior : behaviors()) {
      EXPECT_EQ(chosen.contains({&ask, &behavior}), behavior.weight != 0)
          << ask.name << ", " << behavior.name;
    }
  }
}

TEST(HostScript, IsTheSameAfterAFile) {
  const TemporaryDirectory directory;
  const auto file = directory.path() / "script";
  EXPECT_FALSE(HostScript::readFrom(file).has_value());
  for (const Behavior& behavior : behaviors()) {
    const auto script = behavior.partIn({.ask = asks().data(), .behavior = &behavior}).script;
    script.writeTo(file);
    EXPECT_EQ(HostScript::readFrom(file), script) << behavior.name;
  }
}

}  // namespace
}  // namespace korvan::lab::soak
