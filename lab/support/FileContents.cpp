#include "lab/support/FileContents.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

namespace korvan::lab {

std::string contentsOf(const std::string& file) {
  const auto close = [](std::FILE* stream) { std::fclose(stream); };
  const std::unique_ptr<std::FILE, decltype(close)> stream(std::fopen(file.c_str(), "re"));
  if (!stream) {
    throw std::system_error(errno, std::generic_category(), "cannot read \"" + file + "\"");
  }
  std::string contents;
  for (int character = std::fgetc(stream.get()); character != EOF;
       character = std::fgetc(stream.get())) {
    contents += static_cast<char>(character);
  }
  if (std::ferror(stream.get()) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot read \"" + file + "\"");
  }
  return contents;
}

}  // namespace korvan::lab
