#include "platform/apple/AppleAppGroupContainers.h"

#import <Foundation/Foundation.h>

#include "platform/apple/Conversions.h"

namespace korvan {

std::optional<std::string> AppleAppGroupContainers::containerPath(
    std::string_view groupIdentifier) const {
  NSString* const identifier = toNSString(groupIdentifier);
  if (identifier == nil) {
    return std::nullopt;
  }
  NSURL* const container =
      [NSFileManager.defaultManager containerURLForSecurityApplicationGroupIdentifier:identifier];
  return stringOf(container.path);
}

}  // namespace korvan
