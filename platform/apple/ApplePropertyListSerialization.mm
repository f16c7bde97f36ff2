#include "platform/apple/ApplePropertyListSerialization.h"

#include <unordered_map>
#include <utility>
#include <vector>

#import <Foundation/Foundation.h>

#include "platform/apple/Conversions.h"

namespace korvan {
namespace {

id toObject(const PropertyListValue& value);

NSArray* toObject(const PropertyListValue::Array& array) {
  NSMutableArray* const objects = [NSMutableArray arrayWithCapacity:array.size()];
  for (const PropertyListValue& element : array) {
    [objects addObject:toObject(element)];
  }
  return objects;
}

NSDictionary* toObject(const PropertyListDictionary& dictionary) {
  NSMutableDictionary* const objects =
      [NSMutableDictionary dictionaryWithCapacity:dictionary.size()];
  for (const auto& [key, value] : dictionary) {
    NSString* const name = toNSString(key.view());
    // A key that is no text makes the whole no property list.
    objects[name != nil ? name : (id)NSNull.null] = toObject(value);
  }
  return objects;
}

/// Never nil: NSNull stands for what has no counterpart.
id toObject(const PropertyListValue& value) {
  if (const auto boolean = value.boolean()) {
    return [NSNumber numberWithBool:*boolean];
  }
  if (const auto integer = value.integer()) {
    return [NSNumber numberWithLongLong:*integer];
  }
  if (const auto largeInteger = value.largeInteger()) {
    return [NSNumber numberWithUnsignedLongLong:*largeInteger];
  }
  if (const auto real = value.real()) {
    return [NSNumber numberWithDouble:*real];
  }
  if (const auto date = value.date()) {
    return [NSDate dateWithTimeIntervalSinceReferenceDate:date->secondsSinceReferenceDate];
  }
  if (const Data* const data = value.data()) {
    return toNSData(*data);
  }
  if (const auto* const array = value.array()) {
    return toObject(*array);
  }
  if (const auto* const dictionary = value.dictionary()) {
    return toObject(*dictionary);
  }
  NSString* const text = value.text() != nullptr ? toNSString(value.text()->view()) : nil;
  return text != nil ? text : (id)NSNull.null;
}

PropertyListValue numberValue(NSNumber* number) {
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

/// The values of one property list's objects. A container that is referred to from many places
/// becomes one value that they share: whoever wrote the bytes may have made it stand for far more
/// than it holds.
class Values {
 public:
  PropertyListValue of(id object) {
    if (NSArray* const array = instanceOf([NSArray class], object)) {
      return shared(object, [&] { return ofArray(array); });
    }
    if (NSDictionary* const dictionary = instanceOf([NSDictionary class], object)) {
      return shared(object, [&] { return ofDictionary(dictionary); });
    }
    if (NSNumber* const number = instanceOf([NSNumber class], object)) {
      return numberValue(number);
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

 private:
  template <typename Make>
  PropertyListValue shared(id container, Make make) {
    const void* const identity = (__bridge const void*)container;
    if (const auto met = met_.find(identity); met != met_.end()) {
      return met->second;
    }
    return met_.emplace(identity, make()).first->second;
  }

  PropertyListValue ofArray(NSArray* array) {
    PropertyListValue::Array values;
    values.reserve(array.count);
    for (id element in array) {
      values.push_back(of(element));
    }
    return values;
  }

  PropertyListValue ofDictionary(NSDictionary* dictionary) {
    PropertyListDictionary values;
    for (id key in dictionary) {
      if (const auto name = stringOf(key)) {
        values.insert_or_assign(*name, of(dictionary[key]));
      }
    }
    return values;
  }

  std::unordered_map<const void*, PropertyListValue> met_;
};

std::unexpected<PropertyListError> failure(NSError* error) {
  return std::unexpected(
      PropertyListError{.localizedDescription = stringOf(error.localizedDescription)});
}

}  // namespace

std::expected<Data, PropertyListError> ApplePropertyListSerialization::encodeBinary(
    const PropertyListDictionary& propertyList) const {
  NSError* error = nil;
  NSData* const bytes =
      [NSPropertyListSerialization dataWithPropertyList:toObject(propertyList)
                                                 format:NSPropertyListBinaryFormat_v1_0
                                                options:0
                                                  error:&error];
  if (auto data = dataOf(bytes)) {
    return *std::move(data);
  }
  return failure(error);
}

std::expected<PropertyListValue, PropertyListError> ApplePropertyListSerialization::decode(
    const Data& bytes) const {
  NSError* error = nil;
  id const propertyList = [NSPropertyListSerialization propertyListWithData:toNSData(bytes)
                                                                    options:0
                                                                     format:nullptr
                                                                      error:&error];
  if (propertyList == nil) {
    return failure(error);
  }
  return Values().of(propertyList);
}

}  // namespace korvan
