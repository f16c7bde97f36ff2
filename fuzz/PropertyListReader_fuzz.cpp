#include <cstddef>
#include <cstdint>

#include "fuzz/Fuzzing.h"
#include "fuzz/PropertyListWalk.h"
#include "platform/linux/LinuxPropertyListSerialization.h"
#include "platform/linux/PropertyListLimits.h"

// Any bytes are a property list that keeps what the readers promise, or an error with words.

using namespace korvan;

int LLVMFuzzerTestOneInput(const std::uint8_t* first, std::size_t size) {
  // The bytes are released before the value is looked at: it must keep those that it shares.
  const auto value =
      LinuxPropertyListSerialization().decode(fuzz::exactCopyOf(std::span(first, size)));
  if (!value) {
    fuzz::require(!value.error().localizedDescription.value_or("").empty(),
                  "an error has a description");
    return 0;
  }
  fuzz::require(fuzz::walk(*value).height <= MaxPropertyListNesting,
                "no reader goes beyond the limit of nesting");
  return 0;
}
