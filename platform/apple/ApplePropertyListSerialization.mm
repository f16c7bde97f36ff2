#include "platform/apple/ApplePropertyListSerialization.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <unordered_map>
#include <utility>

#import <Foundation/Foundation.h>

#include "platform/apple/Conversions.h"

namespace korvan {
namespace {

/// The platform's objects for one property list's values.
class Objects {
 public:
  /// The object for a value inside `depth` containers. Never nil: NSNull stands for what has no
  /// counterpart.
  id of(const PropertyListValue& value, std::size_t depth) {
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
      return of(*array, depth);
    }
    if (const auto* const dictionary = value.dictionary()) {
      return of(*dictionary, depth);
    }
    NSString* const text = value.text() != nullptr ? toNSString(value.text()->view()) : nil;
    return text != nil ? text : (id)NSNull.null;
  }

  id of(const PropertyListDictionary& dictionary, std::size_t depth) {
    if (depth == MaxPropertyListNesting) {
      return tooDeep();
    }
    NSMutableDictionary* const objects =
        [NSMutableDictionary dictionaryWithCapacity:dictionary.size()];
    for (const auto& [key, value] : dictionary) {
      NSString* const name = toNSString(key.view());
      // A key that is not text: the result is then not a property list, and is refused.
      objects[name != nil ? name : (id)NSNull.null] = of(value, depth + 1);
    }
    return objects;
  }

  [[nodiscard]] bool isTooDeep() const { return isTooDeep_; }

 private:
  id of(const PropertyListValue::Array& array, std::size_t depth) {
    if (depth == MaxPropertyListNesting) {
      return tooDeep();
    }
    NSMutableArray* const objects = [NSMutableArray arrayWithCapacity:array.size()];
    for (const PropertyListValue& element : array) {
      [objects addObject:of(element, depth + 1)];
    }
    return objects;
  }

  id tooDeep() {
    isTooDeep_ = true;
    return NSNull.null;
  }

  bool isTooDeep_ = false;
};

/// The values of one property list's objects. A container that several places refer to becomes one
/// value that they share; otherwise a few bytes could expand to far more than memory holds.
class Values {
 public:
  struct Converted {
    PropertyListValue value;
    /// How many levels of containers there are from this value on; 0 if it is not a container.
    std::size_t height = 0;
  };

  /// The value of an object inside `depth` containers.
  Converted of(id object, std::size_t depth) {
    if (NSArray* const array = instanceOf([NSArray class], object)) {
      return shared(object, depth, [&] { return ofArray(array, depth + 1); });
    }
    if (NSDictionary* const dictionary = instanceOf([NSDictionary class], object)) {
      return shared(object, depth, [&] { return ofDictionary(dictionary, depth + 1); });
    }
    return {.value = valueOf(object)};
  }

  [[nodiscard]] bool isTooDeep() const { return isTooDeep_; }

 private:
  template <typename Make>
  Converted shared(id container, std::size_t depth, Make make) {
    const void* const identity = (__bridge const void*)container;
    if (const auto met = met_.find(identity); met != met_.end()) {
      return met->second;
    }
    Converted converted =
        depth < MaxPropertyListNesting ? make() : Converted{.height = MaxPropertyListNesting + 1};
    // A shared container may be met first where it is shallow: its height counts as well.
    if (converted.height > MaxPropertyListNesting) {
      isTooDeep_ = true;
      converted = {};
    }
    return met_.emplace(identity, std::move(converted)).first->second;
  }

  Converted ofArray(NSArray* array, std::size_t depth) {
    std::size_t height = 0;
    PropertyListValue::Array values;
    values.reserve(array.count);
    for (id object in array) {
      Converted element = of(object, depth);
      height = std::max(height, element.height);
      values.push_back(std::move(element.value));
    }
    return {.value = std::move(values), .height = height + 1};
  }

  Converted ofDictionary(NSDictionary* dictionary, std::size_t depth) {
    std::size_t height = 0;
    PropertyListDictionary values;
    for (id key in dictionary) {
      if (const auto name = stringOf(key)) {
        Converted member = of(dictionary[key], depth);
        height = std::max(height, member.height);
        values.insert_or_assign(*name, std::move(member.value));
      }
    }
    return {.value = std::move(values), .height = height + 1};
  }

  std::unordered_map<const void*, Converted> met_;
  bool isTooDeep_ = false;
};

std::unexpected<PropertyListError> failure(NSError* error) {
  return std::unexpected(
      PropertyListError{.localizedDescription = stringOf(error.localizedDescription)});
}

}  // namespace

std::expected<Data, PropertyListError> ApplePropertyListSerialization::encodeBinary(
    const PropertyListDictionary& propertyList) const {
  Objects objects;
  id const root = objects.of(propertyList, 0);
  if (objects.isTooDeep()) {
    return std::unexpected(PropertyListError{"A value is part of a nesting of more than " +
                                             std::to_string(MaxPropertyListNesting) +
                                             " arrays and dictionaries."});
  }
  NSError* error = nil;
  NSData* const bytes =
      [NSPropertyListSerialization dataWithPropertyList:root
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
  Values values;
  PropertyListValue value = values.of(propertyList, 0).value;
  if (values.isTooDeep()) {
    return std::unexpected(PropertyListError{"The property list is damaged: more than " +
                                             std::to_string(MaxPropertyListNesting) +
                                             " containers are nested."});
  }
  return value;
}

}  // namespace korvan
