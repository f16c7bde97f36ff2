#pragma once

#include <optional>
#include <string>
#include <string_view>

#import <Foundation/Foundation.h>

#include "platform/Data.h"
#include "platform/PropertyList.h"

namespace korvan {

// Conversions between Foundation's values and the logic's. Thread-safe.
//
// The platform's objects are passed as `id`, because nothing checks at run time what a header
// promises: nil and an object of another class become nullopt. Empty stays empty. In the other
// direction nullopt becomes nil.

/// `value` if it is an instance of `kind` or of a subclass, otherwise nil.
[[nodiscard]] id _Nullable instanceOf(Class _Nonnull kind, id _Nullable value);

/// An NSString in UTF-8 with all its characters, including NUL, and U+FEFF at the start. U+FFFD
/// stands for each half of a surrogate pair, which UTF-8 cannot encode.
[[nodiscard]] std::optional<std::string> stringOf(id _Nullable string);

/// An NSData, without copying its bytes unless it is mutable.
[[nodiscard]] std::optional<Data> dataOf(id _Nullable data);

/// An NSString, NSData, NSDate or NSNumber; null, which cannot be encoded, for any other object,
/// containers included. A number stays a boolean, an integer of 64 bits, signed or not, or a real.
[[nodiscard]] PropertyListValue valueOf(id _Nullable object);

/// An NSArray as it stands: one value for each element.
[[nodiscard]] std::optional<PropertyListValue::Array> arrayOf(id _Nullable array);

/// All the characters, including NUL, and U+FEFF at the start. Nil when they are not UTF-8.
[[nodiscard]] NSString* _Null_unspecified toNSString(std::string_view characters);
[[nodiscard]] NSString* _Null_unspecified toNSString(const std::optional<std::string>& characters);

/// The same, but an empty string instead of nil.
[[nodiscard]] NSString* _Nonnull toNSStringOrEmpty(std::string_view characters);

/// A copy of the bytes.
[[nodiscard]] NSData* _Nonnull toNSData(const Data& data);
[[nodiscard]] NSData* _Null_unspecified toNSData(const std::optional<Data>& data);

}  // namespace korvan
