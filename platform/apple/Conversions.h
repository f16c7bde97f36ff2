#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#import <Foundation/Foundation.h>

#include "platform/Data.h"

namespace korvan {

// Conversions between Foundation's values and the logic's. Thread-safe.
//
// The platform's objects are passed as `id`, because nothing checks at run time what a header
// promises: nil and an object of another class become nullopt. Empty stays empty. In the other
// direction nullopt becomes nil.

/// `value` if it is an instance of `kind` or of a subclass, otherwise nil.
[[nodiscard]] id _Nullable instanceOf(Class _Nonnull kind, id _Nullable value);

/// An NSString in UTF-8, including NUL characters. Nullopt also for a string with an unpaired
/// surrogate, which UTF-8 cannot encode.
[[nodiscard]] std::optional<std::string> stringOf(id _Nullable string);

/// An NSData, without copying its bytes unless it is mutable.
[[nodiscard]] std::optional<Data> dataOf(id _Nullable data);

/// An NSArray of NSData. Elements of other classes are left out.
[[nodiscard]] std::optional<std::vector<Data>> dataArrayOf(id _Nullable array);

/// An NSArray of NSNumber as 64-bit integers. Elements of other classes are left out.
[[nodiscard]] std::optional<std::vector<std::int64_t>> integerArrayOf(id _Nullable array);

/// The characters, including NUL; nil when they are not UTF-8.
[[nodiscard]] NSString* _Null_unspecified toNSString(std::string_view characters);
[[nodiscard]] NSString* _Null_unspecified toNSString(const std::optional<std::string>& characters);

/// The same, but an empty string instead of nil.
[[nodiscard]] NSString* _Nonnull toNSStringOrEmpty(std::string_view characters);

/// A copy of the bytes.
[[nodiscard]] NSData* _Nonnull toNSData(const Data& data);
[[nodiscard]] NSData* _Null_unspecified toNSData(const std::optional<Data>& data);

}  // namespace korvan
