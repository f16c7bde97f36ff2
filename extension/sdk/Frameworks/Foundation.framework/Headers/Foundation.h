#pragma once

// What the adapters use of Foundation, and no more; see ../../../README.md.

#include <CoreFoundation/CoreFoundation.h>
#include <objc/NSObject.h>
#include <stdint.h>

#define NS_ENUM(type, name) \
  enum name : type name;    \
  enum name : type

#pragma clang assume_nonnull begin

@class NSString, NSArray<__covariant ObjectType>;

typedef double NSTimeInterval;
typedef NSString* NSErrorDomain;
typedef NSString* NSExceptionName;
typedef NSUInteger NSStringEncoding;
enum : NSStringEncoding { NSUTF16LittleEndianStringEncoding = 0x94000100 };

typedef NS_ENUM(NSInteger, NSComparisonResult) {
  NSOrderedAscending = -1,
  NSOrderedSame = 0,
  NSOrderedDescending = 1
};

@protocol NSCopying
@end

@protocol NSSecureCoding
@end

typedef struct {
  unsigned long state;
  id __unsafe_unretained _Nullable* _Nullable itemsPtr;
  unsigned long* _Nullable mutationsPtr;
  unsigned long extra[5];
} NSFastEnumerationState;

@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained _Nullable[_Nonnull])buffer
                                    count:(NSUInteger)length;
@end

@interface NSData : NSObject <NSCopying>
+ (instancetype)dataWithBytes:(const void* _Nullable)bytes length:(NSUInteger)length;
@property(readonly) const void* bytes;
@property(readonly) NSUInteger length;
@end

@interface NSMutableData : NSData
@property NSUInteger length;
@end

typedef unsigned short unichar;

typedef struct {
  NSUInteger location;
  NSUInteger length;
} NSRange;

inline NSRange NSMakeRange(NSUInteger location, NSUInteger length) { return {location, length}; }

@interface NSString : NSObject <NSCopying>
- (nullable instancetype)initWithBytes:(const void*)bytes
                                length:(NSUInteger)length
                              encoding:(NSStringEncoding)encoding;
- (unichar)characterAtIndex:(NSUInteger)index;
- (void)getCharacters:(unichar*)buffer range:(NSRange)range;
@property(readonly) NSUInteger length;
@end

@interface NSNumber : NSObject <NSCopying>
+ (NSNumber*)numberWithBool:(BOOL)value;
+ (NSNumber*)numberWithInt:(int)value;
+ (NSNumber*)numberWithInteger:(NSInteger)value;
+ (NSNumber*)numberWithLong:(long)value;
+ (NSNumber*)numberWithLongLong:(long long)value;
+ (NSNumber*)numberWithUnsignedLongLong:(unsigned long long)value;
+ (NSNumber*)numberWithDouble:(double)value;
@property(readonly) BOOL boolValue;
@property(readonly) double doubleValue;
@property(readonly) long long longLongValue;
@property(readonly) unsigned long long unsignedLongLongValue;
- (NSComparisonResult)compare:(NSNumber*)other;
@end

@interface NSDate : NSObject <NSCopying>
+ (instancetype)dateWithTimeIntervalSinceReferenceDate:(NSTimeInterval)seconds;
@property(readonly) NSTimeInterval timeIntervalSinceReferenceDate;
@end

@interface NSNull : NSObject <NSCopying>
+ (NSNull*)null;
@end

@interface NSArray<__covariant ObjectType> : NSObject <NSCopying, NSFastEnumeration>
+ (instancetype)array;
+ (instancetype)arrayWithObjects:(const ObjectType _Nonnull[_Nullable])objects
                           count:(NSUInteger)count;
@property(readonly) NSUInteger count;
- (ObjectType)objectAtIndexedSubscript:(NSUInteger)index;
@end

@interface NSMutableArray<ObjectType> : NSArray <ObjectType>
+ (instancetype)arrayWithCapacity:(NSUInteger)capacity;
- (void)addObject:(ObjectType)object;
@end

@interface NSDictionary<__covariant KeyType, __covariant ObjectType>
    : NSObject <NSCopying, NSFastEnumeration>
+ (instancetype)dictionary;
+ (instancetype)dictionaryWithObjects:(const ObjectType _Nonnull[_Nullable])objects
                              forKeys:(const KeyType<NSCopying> _Nonnull[_Nullable])keys
                                count:(NSUInteger)count;
@property(readonly) NSUInteger count;
- (nullable ObjectType)objectForKeyedSubscript:(KeyType)key;
@end

@interface NSMutableDictionary<KeyType, ObjectType> : NSDictionary <KeyType, ObjectType>
+ (instancetype)dictionaryWithCapacity:(NSUInteger)capacity;
- (void)setObject:(ObjectType)object forKeyedSubscript:(KeyType<NSCopying>)key;
@end

extern "C" NSErrorDomain const NSPOSIXErrorDomain;
extern "C" NSErrorDomain const NSOSStatusErrorDomain;
extern "C" NSString* const NSLocalizedDescriptionKey;

@interface NSError : NSObject <NSCopying>
+ (instancetype)errorWithDomain:(NSErrorDomain)domain
                           code:(NSInteger)code
                       userInfo:(nullable NSDictionary<NSString*, id>*)userInfo;
@property(readonly, copy) NSErrorDomain domain;
@property(readonly) NSInteger code;
@property(readonly, copy) NSDictionary<NSString*, id>* userInfo;
@property(readonly, copy) NSString* localizedDescription;
@end

extern "C" NSExceptionName const NSInvalidArgumentException;

@interface NSException : NSObject <NSCopying>
+ (NSException*)exceptionWithName:(NSExceptionName)name
                           reason:(nullable NSString*)reason
                         userInfo:(nullable NSDictionary*)userInfo;
@property(readonly, copy) NSExceptionName name;
@property(nullable, readonly, copy) NSString* reason;
@end

@interface NSURL : NSObject <NSCopying>
+ (nullable instancetype)URLWithString:(NSString*)string;
@property(nullable, readonly, copy) NSString* path;
@end

@interface NSBundle : NSObject
@property(class, readonly, strong) NSBundle* mainBundle;
- (NSString*)localizedStringForKey:(NSString*)key
                             value:(nullable NSString*)value
                             table:(nullable NSString*)table;
@end

@interface NSFileManager : NSObject
@property(class, readonly, strong) NSFileManager* defaultManager;
- (nullable NSURL*)containerURLForSecurityApplicationGroupIdentifier:(NSString*)groupIdentifier;
@end

typedef struct {
  NSInteger majorVersion;
  NSInteger minorVersion;
  NSInteger patchVersion;
} NSOperatingSystemVersion;

@interface NSProcessInfo : NSObject
@property(class, readonly, strong) NSProcessInfo* processInfo;
@property(readonly) NSTimeInterval systemUptime;
- (BOOL)isOperatingSystemAtLeastVersion:(NSOperatingSystemVersion)version;
@end

typedef NS_ENUM(NSUInteger, NSPropertyListFormat) {
  NSPropertyListOpenStepFormat = 1,
  NSPropertyListXMLFormat_v1_0 = 100,
  NSPropertyListBinaryFormat_v1_0 = 200
};
typedef NSUInteger NSPropertyListReadOptions;
typedef NSUInteger NSPropertyListWriteOptions;

@interface NSPropertyListSerialization : NSObject
+ (nullable NSData*)dataWithPropertyList:(id)propertyList
                                  format:(NSPropertyListFormat)format
                                 options:(NSPropertyListWriteOptions)options
                                   error:(NSError* _Nullable __autoreleasing* _Nullable)error;
+ (nullable id)propertyListWithData:(NSData*)data
                            options:(NSPropertyListReadOptions)options
                             format:(NSPropertyListFormat* _Nullable)format
                              error:(NSError* _Nullable __autoreleasing* _Nullable)error;
@end

@interface NSExtensionContext : NSObject
- (void)cancelRequestWithError:(NSError*)error;
@end

#pragma clang assume_nonnull end
