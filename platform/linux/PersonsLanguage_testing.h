#pragma once

#include <filesystem>
#include <string>

#include "platform/linux/ScopedEnvironment_testing.h"
#include "platform/linux/TemporaryDirectory_testing.h"

namespace korvan {

/// Sets the environment of a person who speaks `language`, or the first known one of several that
/// colons separate. Takes effect where a program calls setlocale(…, "").
class PersonsLanguage {
 public:
  explicit PersonsLanguage(const std::string& language) : language_("LANGUAGE", language) {
    // A bare machine has only C.UTF-8, and gettext translates nothing in a locale of that name.
    std::filesystem::create_symlink("/usr/lib/locale/C.utf8", locales_.path() / "person.UTF-8");
  }

 private:
  const TemporaryDirectory locales_;
  const ScopedEnvironment directory_{"LOCPATH", locales_.path()};
  const ScopedEnvironment locale_{"LC_ALL", "person.UTF-8"};
  const ScopedEnvironment language_;
};

}  // namespace korvan
