#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#import <Foundation/Foundation.h>

#include "platform/Data.h"

namespace korvan {

// Between Foundation's values and those of the logic. Usable from any thread at once.
//
// The platform's objects are taken as `id`, because what a header promises is not checked at run
// time: nil and an object of another class than the one named are none. Empty stays empty. What is
// none becomes nil; the results therefore carry no promise that they are not nil.

/// `value` when it is of the class `kind` or one derived from it, or nil.
[[nodiscard]] id _Nullable instanceOf(Class _Nonnull kind, id _Nullable value);

/// An NSString in UTF-8, NUL characters included; none also for a string that Unicode cannot encode
/// because it holds half of a surrogate pair.
[[nodiscard]] std::optional<std::string> stringOf(id _Nullable string);

/// An NSData without copying its bytes; what is mutable is copied.
[[nodiscard]] std::optional<Data> dataOf(id _Nullable data);

/// An NSArray of NSData. An element of another class is left out.
[[nodiscard]] std::optional<std::vector<Data>> dataArrayOf(id _Nullable array);

/// An NSArray of NSNumber as integers of 64 bits. An element of another class is left out.
[[nodiscard]] std::optional<std::vector<std::int64_t>> integerArrayOf(id _Nullable array);

/// The characters, NUL included; nil when they are not UTF-8.
[[nodiscard]] NSString* _Null_unspecified toNSString(std::string_view characters);
[[nodiscard]] NSString* _Null_unspecified toNSString(const std::optional<std::string>& characters);

/// The same, but an empty string in place of nil.
[[nodiscard]] NSString* _Nonnull toNSStringOrEmpty(std::string_view characters);

/// A copy of the bytes.
[[nodiscard]] NSData* _Nonnull toNSData(const Data& data);
[[nodiscard]] NSData* _Null_unspecified toNSData(const std::optional<Data>& data);

}  // namespace korvan
