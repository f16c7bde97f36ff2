#include "platform/apple/Conversions.h"

#include <memory>
#include <span>

namespace korvan {

id instanceOf(Class kind, id value) { return [value isKindOfClass:kind] ? value : nil; }

std::optional<std::string> stringOf(id string) {
  NSString* const checked = instanceOf([NSString class], string);
  NSData* const utf8 = [checked dataUsingEncoding:NSUTF8StringEncoding];
  if (utf8 == nil) {
    return std::nullopt;
  }
  return std::string(static_cast<const char*>(utf8.bytes), utf8.length);
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

std::optional<std::vector<Data>> dataArrayOf(id array) {
  NSArray* const checked = instanceOf([NSArray class], array);
  if (checked == nil) {
    return std::nullopt;
  }
  std::vector<Data> list;
  for (id element in checked) {
    if (auto data = dataOf(element)) {
      list.push_back(*std::move(data));
    }
  }
  return list;
}

std::optional<std::vector<std::int64_t>> integerArrayOf(id array) {
  NSArray* const checked = instanceOf([NSArray class], array);
  if (checked == nil) {
    return std::nullopt;
  }
  std::vector<std::int64_t> list;
  for (id element in checked) {
    if (NSNumber* const number = instanceOf([NSNumber class], element)) {
      list.push_back(number.longLongValue);
    }
  }
  return list;
}

NSString* toNSString(std::string_view characters) {
  // No characters may be nowhere, and Foundation wants to know where.
  return [[NSString alloc] initWithBytes:characters.empty() ? "" : characters.data()
                                  length:characters.size()
                                encoding:NSUTF8StringEncoding];
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
