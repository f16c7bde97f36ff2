#include "platform/apple/AppleWorkspace.h"

#import <AppKit/AppKit.h>

#include "platform/apple/Conversions.h"

namespace korvan {

bool AppleWorkspace::openURL(std::string_view url) const {
  NSString* const text = toNSString(url);
  NSURL* const parsed = text != nil ? [NSURL URLWithString:text] : nil;
  return parsed != nil && [NSWorkspace.sharedWorkspace openURL:parsed];
}

std::size_t AppleWorkspace::runningApplicationCount(std::string_view bundleIdentifier) const {
  NSString* const identifier = toNSString(bundleIdentifier);
  if (identifier == nil) {
    return 0;
  }
  return [NSRunningApplication runningApplicationsWithBundleIdentifier:identifier].count;
}

}  // namespace korvan
