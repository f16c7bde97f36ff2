#pragma once

// What the adapters use of CoreFoundation, and no more; see ../../../README.md.

#include <objc/objc.h>
#include <os/availability.h>
#include <stdint.h>

#pragma clang assume_nonnull begin

extern "C" {

typedef const void* CFTypeRef;
typedef unsigned long CFTypeID;
typedef unsigned char Boolean;
typedef const struct __attribute__((objc_bridge(NSString))) CFStringObject* CFStringRef;
typedef const struct __attribute__((objc_bridge(NSDictionary))) CFDictionaryObject* CFDictionaryRef;
typedef const struct __attribute__((objc_bridge(NSNumber))) CFNumberObject* CFNumberRef;

CFTypeID CFGetTypeID(CFTypeRef object);
CFTypeID CFBooleanGetTypeID(void);
Boolean CFNumberIsFloatType(CFNumberRef number);
void CFRelease(CFTypeRef object);

typedef CFStringRef CFRunLoopMode;
typedef int32_t CFRunLoopRunResult;
extern const CFRunLoopMode kCFRunLoopDefaultMode;
CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, double seconds,
                                      Boolean returnAfterSourceHandled);

}  // extern "C"

#pragma clang assume_nonnull end
