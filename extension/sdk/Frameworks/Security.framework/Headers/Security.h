#pragma once

// What the adapters use of Security, and no more; see ../../../README.md.

#include <CoreFoundation/CoreFoundation.h>
#include <MacTypes.h>
#include <stdint.h>

#pragma clang assume_nonnull begin

extern "C" {

typedef struct SecCodeObject* SecCodeRef;
typedef struct SecRequirementObject* SecRequirementRef;
typedef uint32_t SecCSFlags;
enum : SecCSFlags { kSecCSDefaultFlags = 0 };

extern const CFStringRef kSecGuestAttributePid;

OSStatus SecCodeCopyGuestWithAttributes(SecCodeRef _Nullable host,
                                        CFDictionaryRef _Nullable attributes, SecCSFlags flags,
                                        SecCodeRef _Nullable* _Nonnull guest);
OSStatus SecRequirementCreateWithString(CFStringRef text, SecCSFlags flags,
                                        SecRequirementRef _Nullable* _Nonnull requirement);
OSStatus SecCodeCheckValidity(SecCodeRef code, SecCSFlags flags,
                              SecRequirementRef _Nullable requirement);
CFStringRef _Nullable SecCopyErrorMessageString(OSStatus status, void* _Nullable reserved);

}  // extern "C"

#pragma clang assume_nonnull end
