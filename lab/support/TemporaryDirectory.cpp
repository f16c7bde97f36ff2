#include "lab/support/TemporaryDirectory.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

namespace korvan::lab {

TemporaryDirectory::TemporaryDirectory() {
  std::string pattern = std::filesystem::temp_directory_path() / "korvan-lab-XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(),
                            "making a directory such as " + pattern);
  }
  path_ = pattern;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace korvan::lab
