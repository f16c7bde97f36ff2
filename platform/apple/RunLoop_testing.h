#pragma once

#import <Foundation/Foundation.h>

namespace korvan {

/// Runs the main run loop until `done` returns true. A test that waits in vain times out.
template <typename Condition>
void runMainLoopUntil(const Condition& done) {
  while (!done()) {
    // Returns after each piece of work; the limit only makes it look again.
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.1, true);
  }
}

}  // namespace korvan
