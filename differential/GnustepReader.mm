// Reads property lists with GNUstep: a line of canonical JSON for each file named on standard
// input.

#include <span>
#include <string>
#include <string_view>
#include <utility>

#import <Foundation/Foundation.h>

#include "differential/CanonicalJson.h"
#include "differential/GnustepDecoding.h"
#include "differential/ReaderProgram.h"

namespace korvan {
namespace {

void write(id value, CanonicalJson& json);

std::u16string charactersOf(NSString* text) {
  std::u16string utf16([text length], u'\0');
  [text getCharacters:reinterpret_cast<unichar*>(utf16.data())];
  return utf16;
}

void writeNumber(NSNumber* number, CanonicalJson& json) {
  switch (*[number objCType]) {
    case 'c':
    case 'C':
    case 'B':
      // A boolean's own class; an integer of one byte is of another type.
      return json.boolean([number boolValue] != NO);
    case 'f':
    case 'd':
      return json.real([number doubleValue]);
    case 'Q':
    case 'L':
      return json.integer(static_cast<std::uint64_t>([number unsignedLongLongValue]));
    default:
      return json.integer(static_cast<std::int64_t>([number longLongValue]));
  }
}

void writeItems(std::string_view kind, id items, CanonicalJson& json) {
  json.openItems(kind);
  NSEnumerator* rest = [items objectEnumerator];
  for (id item = [rest nextObject]; item != nil && !json.isFull(); item = [rest nextObject]) {
    write(item, json);
  }
  json.closeItems();
}

void writeDictionary(NSDictionary* dictionary, CanonicalJson& json) {
  json.openDictionary();
  NSEnumerator* rest = [dictionary keyEnumerator];
  for (id key = [rest nextObject]; key != nil && !json.isFull(); key = [rest nextObject]) {
    // Keys of other kinds get through.
    json.key(charactersOf([key description]));
    write([dictionary objectForKey:key], json);
    json.endEntry();
  }
  json.closeDictionary();
}

void write(id value, CanonicalJson& json) {
  if ([value isKindOfClass:[NSNumber class]]) {
    writeNumber(value, json);
  } else if ([value isKindOfClass:[NSString class]]) {
    json.text(charactersOf(value));
  } else if ([value isKindOfClass:[NSData class]]) {
    json.data({static_cast<const std::uint8_t*>([value bytes]), [value length]});
  } else if ([value isKindOfClass:[NSDate class]]) {
    json.date([value timeIntervalSinceReferenceDate]);
  } else if ([value isKindOfClass:[NSArray class]]) {
    writeItems("array", value, json);
  } else if ([value isKindOfClass:[NSSet class]]) {
    writeItems("set", value, json);
  } else if ([value isKindOfClass:[NSDictionary class]]) {
    writeDictionary(value, json);
  } else {
    json.null();
  }
}

std::string decoded(const Data& bytes, bool isToBeWritten) {
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  NSData* data = [NSData dataWithBytes:bytes.bytes().data() length:bytes.size()];
  NSString* reason = nil;
  const id value = korvanGnustepPropertyList(data, &reason);
  std::string line;
  if (value == nil) {
    const char* text = [reason UTF8String];
    line = CanonicalJson::error(text != nullptr ? text : "refused");
  } else {
    CanonicalJson json;
    if (isToBeWritten) {
      write(value, json);
    } else {
      json.null();
    }
    line = std::move(json).finish();
  }
  [pool release];
  return line;
}

}  // namespace
}  // namespace korvan

int main(int count, char** values) {
  return korvan::runReaderProgram({values, static_cast<std::size_t>(count)}, korvan::decoded);
}
