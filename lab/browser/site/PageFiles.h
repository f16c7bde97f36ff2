#pragma once

#include <span>
#include <string_view>

namespace korvan::lab {

/// A file of the page, which the build puts into the program.
struct PageFile {
  std::string_view name;  ///< its path below the page's URL; empty for the page itself
  std::string_view contentType;
  std::string_view contents;
};

[[nodiscard]] std::span<const PageFile> pageFiles();

}  // namespace korvan::lab
