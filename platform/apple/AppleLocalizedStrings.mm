#include "platform/apple/AppleLocalizedStrings.h"

#import <Foundation/Foundation.h>

#include "platform/apple/Conversions.h"

namespace korvan {

std::string AppleLocalizedStrings::localizedString(std::string_view key) const {
  NSString* const english = toNSString(key);
  if (english == nil) {
    return std::string(key);
  }
  NSString* const text = [NSBundle.mainBundle localizedStringForKey:english value:@"" table:nil];
  return stringOf(text).value_or(std::string(key));
}

}  // namespace korvan
