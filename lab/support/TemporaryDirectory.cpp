#include "lab/support/TemporaryDirectory.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

#include <glib.h>

namespace korvan::lab {

TemporaryDirectory::TemporaryDirectory() {
  std::string pattern = std::filesystem::path(g_get_tmp_dir()) / "korvan-lab-XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(),
                            "cannot make a temporary directory such as " + pattern);
  }
  path_ = pattern;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace korvan::lab
