#pragma once

#import <Foundation/Foundation.h>

/// A text of one character that UTF-8 cannot hold. A class of its own, because not every Foundation
/// can make such a text from characters.
@interface HalfOfASurrogatePair : NSString
@end

@implementation HalfOfASurrogatePair
- (NSUInteger)length {
  return 1;
}
- (unichar)characterAtIndex:(NSUInteger)__unused index {
  return 0xD800;
}
@end
