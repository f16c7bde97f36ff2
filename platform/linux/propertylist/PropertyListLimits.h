#pragma once

#include <cstddef>

namespace korvan {

/// Containers inside one another, the outermost included, that are written or read at most, in any
/// format. It keeps recursion on values within any thread's stack, and is the bound that the
/// platform's own reader is commonly described to have.
inline constexpr std::size_t MaxPropertyListNesting = 512;

}  // namespace korvan
