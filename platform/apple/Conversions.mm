#include "platform/apple/Conversions.h"

#include <cstdint>
#include <memory>
#include <utility>

#include "platform/apple/utf16/Utf16.h"

namespace korvan {
namespace {

PropertyListValue valueOfNumber(NSNumber* number) {
  const auto reference = (__bridge CFNumberRef)number;
  if (CFGetTypeID(reference) == CFBooleanGetTypeID()) {
    return static_cast<bool>(number.boolValue);
  }
  if (CFNumberIsFloatType(reference) != 0) {
    return number.doubleValue;
  }
  if ([number compare:@(INT64_MAX)] == NSOrderedDescending) {
    return number.unsignedLongLongValue;
  }
  return number.longLongValue;
}

}  // namespace

id instanceOf(Class kind, id value) { return [value isKindOfClass:kind] ? value : nil; }

std::optional<std::string> stringOf(id string) {
  NSString* const checked = instanceOf([NSString class], string);
  if (checked == nil) {
    return std::nullopt;
  }
  std::u16string characters(checked.length, u'\0');
  [checked getCharacters:reinterpret_cast<unichar*>(characters.data())
                   range:NSMakeRange(0, characters.size())];
  return utf8OfUtf16(characters);
}

std::optional<Data> dataOf(id data) {
  NSData* const held = [instanceOf([NSData class], data) copy];
  if (held == nil) {
    return std::nullopt;
  }
  const auto* const first = static_cast<const std::uint8_t*>(held.bytes);
  // The deleter is the owner: it holds the object until it is destroyed itself.
  return Data(
      std::shared_ptr<const std::uint8_t>(first, [held](const std::uint8_t*) { (void)held; }),
      held.length);
}

PropertyListValue valueOf(id object) {
  if (NSNumber* const number = instanceOf([NSNumber class], object)) {
    return valueOfNumber(number);
  }
  if (NSDate* const date = instanceOf([NSDate class], object)) {
    return PropertyListDate{.secondsSinceReferenceDate = date.timeIntervalSinceReferenceDate};
  }
  if (auto data = dataOf(object)) {
    return *std::move(data);
  }
  const auto string = stringOf(object);
  return string ? PropertyListValue(*string) : PropertyListValue();
}

std::optional<PropertyListValue::Array> arrayOf(id array) {
  NSArray* const checked = instanceOf([NSArray class], array);
  if (checked == nil) {
    return std::nullopt;
  }
  PropertyListValue::Array values;
  for (id element in checked) {
    values.push_back(valueOf(element));
  }
  return values;
}

NSString* toNSString(std::string_view characters) {
  const auto utf16 = utf16OfUtf8(characters);
  if (!utf16) {
    return nil;
  }
  // This encoding names the byte order, so U+FEFF at the start is not read as a byte-order mark.
  return [[NSString alloc] initWithBytes:utf16->data()
                                  length:utf16->size() * sizeof(char16_t)
                                encoding:NSUTF16LittleEndianStringEncoding];
}

NSString* toNSString(const std::optional<std::string>& characters) {
  return characters ? toNSString(std::string_view(*characters)) : nil;
}

NSString* toNSStringOrEmpty(std::string_view characters) {
  NSString* const string = toNSString(characters);
  return string != nil ? string : @"";
}

NSData* toNSData(const Data& data) {
  return [NSData dataWithBytes:data.bytes().data() length:data.size()];
}

NSData* toNSData(const std::optional<Data>& data) { return data ? toNSData(*data) : nil; }

}  // namespace korvan
