#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "platform/Data.h"

/// What the fuzzing engine calls with each input. Each fuzzer defines it, and ends the process when
/// the input shows a fault. https://llvm.org/docs/LibFuzzer.html
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* first, std::size_t size);

namespace korvan::fuzz {

/// Ends the process, as a finding, with the sentence that does not hold.
inline void require(bool holds, const char* sentence) {
  if (!holds) {
    static_cast<void>(std::fprintf(stderr, "This must hold and does not: %s\n", sentence));
    std::abort();
  }
}

/// A copy of the bytes with nothing beside them, so that a sanitizer sees every step past their
/// end.
inline Data exactCopyOf(std::span<const std::uint8_t> bytes) {
  const auto copy = std::make_shared<const std::vector<std::uint8_t>>(bytes.begin(), bytes.end());
  return {std::shared_ptr<const std::uint8_t>(copy, copy->data()), copy->size()};
}

inline std::string_view textOf(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace korvan::fuzz
