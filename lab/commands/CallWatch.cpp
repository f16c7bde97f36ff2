#include "lab/commands/CallWatch.h"

#include <iostream>
#include <string>

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

}  // namespace korvan::lab
