#include "lab/support/EscapeSequences.h"

#include <string_view>

#include <glib.h>
#include <unistd.h>

namespace korvan::lab {
namespace {

std::string_view environment(const char* name) {
  const char* const value = g_getenv(name);
  return value == nullptr ? std::string_view() : value;
}

}  // namespace

bool outputTakesEscapeSequences() {
  return ::isatty(STDOUT_FILENO) == 1 && environment("NO_COLOR").empty() &&
         environment("TERM") != "dumb";
}

}  // namespace korvan::lab
