#pragma once

#import <Foundation/Foundation.h>

#ifdef __cplusplus
extern "C" {
#endif

/// The property list in the bytes; nil, and `reason` is set, when GNUstep refuses them, which it
/// does by throwing as well as by an error. GCC's Objective-C++ cannot catch what Objective-C
/// throws.
id korvanGnustepPropertyList(NSData* data, NSString** reason);

#ifdef __cplusplus
}
#endif
