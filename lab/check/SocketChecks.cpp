#include <cstring>
#include <filesystem>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include "lab/check/Catalog.h"
#include "lab/check/CheckContext.h"

namespace korvan::lab::check {
namespace {

namespace fs = std::filesystem;

std::string octal(mode_t mode) {
  constexpr unsigned BitsPerDigit = 3;
  constexpr mode_t Digit = 7;
  std::string digits;
  for (mode_t left = mode & 07777U; left != 0; left >>= BitsPerDigit) {
    digits.insert(digits.begin(), static_cast<char>('0' + (left & Digit)));
  }
  return "0" + digits;
}

Result containerExists(CheckContext& context) {
  const fs::path& container = context.settings().container;
  struct stat status{};
  if (::lstat(container.c_str(), &status) == 0) {
    return passed();
  }
  return failed({.sent = {},
                 .got = container.string() + ": " + std::strerror(errno),
                 .wanted = "the directory of the app group",
                 .hint = container.string() + " does not exist; is that a typing error?"});
}

Result containerMode(CheckContext& context) {
  const std::string container = context.settings().container;
  struct stat status{};
  ::lstat(container.c_str(), &status);
  const auto fail = [](const std::string& got, const std::string& hint) {
    return failed({.sent = {},
                   .got = got,
                   .wanted = "a directory of this user, no link, with mode 0700",
                   .hint = hint});
  };
  if (S_ISLNK(status.st_mode)) {
    return fail("a symbolic link", container + " is a symbolic link: name the directory itself");
  }
  if (!S_ISDIR(status.st_mode)) {
    return fail("something else", container + " is not a directory");
  }
  if (status.st_uid != ::geteuid()) {
    return fail("a directory of the user " + std::to_string(status.st_uid),
                container + " belongs to the user " + std::to_string(status.st_uid));
  }
  if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    return fail("mode " + octal(status.st_mode),
                container + " is " + octal(status.st_mode) + ": chmod 700 " + container);
  }
  return passed();
}

}  // namespace

std::vector<Check> socketChecks() {
  return {
      {.name = "container.exists",
       .passes = "the app group's container is there",
       .needs = {},
       .after = {},
       .see = "the-socket",
       .run = containerExists},
      {.name = "container.mode",
       .passes = "it is a directory of this user, no link, with mode 0700",
       .needs = {},
       .after = {"container.exists"},
       .see = "the-socket",
       .run = containerMode},
  };
}

}  // namespace korvan::lab::check
