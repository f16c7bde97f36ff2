#include "platform/apple/AppleClock.h"

#import <Foundation/Foundation.h>
#include <unistd.h>

namespace korvan {

double AppleClock::systemUptime() const { return NSProcessInfo.processInfo.systemUptime; }

void AppleClock::usleep(std::uint32_t microseconds) const { ::usleep(microseconds); }

}  // namespace korvan
