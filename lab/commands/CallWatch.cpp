#include "lab/commands/CallWatch.h"

#include <iostream>
#include <string>
#include <variant>

namespace korvan::lab {

void watch(CallRunner& runner, Narrator& narrator, bool showMessages) {
  runner.onWaiting([](const std::string& whatFor) {
    std::cerr << "Waiting for the host to " << whatFor << '\n' << std::flush;
  });
  if (showMessages) {
    runner.onMessage(
        [&](const PassingMessage& message) { narrator.message(runner.propertyLists(), message); });
  }
}

void tellLaunch(CallRunner& runner, Narrator& narrator, const CallResult& result) {
  const bool failed = std::holds_alternative<Canceled>(result.outcome) ||
                      std::holds_alternative<TimedOut>(result.outcome);
  if (!failed || !result.frames.empty()) {
    return;
  }
  for (const std::string& sentence : runner.causesOfFailedLaunch()) {
    narrator.say("  " + sentence);
  }
}

}  // namespace korvan::lab
