#include "lab/commands/CallWatch.h"

#include <iostream>
#include <string>

namespace korvan::lab {

void watch(CallRunner& runner) {
  runner.onWaiting([](const std::string& whatFor) {
    std::cerr << "Waiting for the host to " << whatFor << '\n' << std::flush;
  });
}

}  // namespace korvan::lab
