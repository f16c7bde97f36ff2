#pragma once

#import <Foundation/Foundation.h>

/// A text of one character that UTF-8 cannot hold. A class of its own, since not every Foundation
/// makes such a text of characters.
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
