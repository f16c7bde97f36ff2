#pragma once

#include <optional>
#include <string>

#include <glib.h>

namespace korvan {

/// Sets or removes an environment variable, and restores it when destroyed.
class ScopedEnvironment {
 public:
  ScopedEnvironment(std::string name, const std::optional<std::string>& value)
      : name_(std::move(name)) {
    if (const char* const before = g_getenv(name_.c_str())) {
      before_ = before;
    }
    set(value);
  }
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;
  ScopedEnvironment(ScopedEnvironment&&) = delete;
  ScopedEnvironment& operator=(ScopedEnvironment&&) = delete;
  ~ScopedEnvironment() { set(before_); }

 private:
  void set(const std::optional<std::string>& value) const {
    if (value) {
      g_setenv(name_.c_str(), value->c_str(), TRUE);
    } else {
      g_unsetenv(name_.c_str());
    }
  }

  const std::string name_;
  std::optional<std::string> before_;
};

}  // namespace korvan
