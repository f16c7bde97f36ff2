#include "platform/apple/AppleOperatingSystem.h"

#import <Foundation/Foundation.h>

namespace korvan {

bool AppleOperatingSystem::isAtLeast(OperatingSystemVersion version) const {
  return [NSProcessInfo.processInfo
      isOperatingSystemAtLeastVersion:{version.major, version.minor, version.patch}];
}

}  // namespace korvan
