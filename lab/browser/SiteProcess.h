#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include <glib.h>
#include <nlohmann/json.hpp>
#include <sys/types.h>

#include "lab/support/Descriptor.h"

namespace korvan::lab {

/// The lab's own web site, in a process of its own that ends with this object. Main thread, of a
/// program that SIGPIPE does not end.
class SiteProcess {
 public:
  /// Called in GLib's default main context when a page that ran by itself has ended; `well` if its
  /// requests were answered as they should be.
  using Finished = std::function<void(bool well)>;

  /// Starts `program`, korvan-browser-site, and waits until it serves. Throws std::runtime_error
  /// when it does not.
  SiteProcess(const std::filesystem::path& program, Finished finished);
  SiteProcess(const SiteProcess&) = delete;
  SiteProcess& operator=(const SiteProcess&) = delete;
  ~SiteProcess();

  /// Where the page is. With "?run" at its end it registers and signs in by itself.
  [[nodiscard]] const std::string& url() const noexcept { return url_; }

  /// Shows a request's story on every open page, if the site is still there.
  void tell(const nlohmann::json& story) const;

 private:
  /// Null at the end of the output.
  [[nodiscard]] nlohmann::json nextLine() const;
  static gboolean lineCame(GIOChannel* output, GIOCondition condition, gpointer site);
  void stop();

  const Finished finished_;
  pid_t process_ = -1;
  Descriptor input_;
  std::unique_ptr<GIOChannel, decltype(&g_io_channel_unref)> output_{nullptr, g_io_channel_unref};
  std::string url_;
  unsigned watch_ = 0;
};

}  // namespace korvan::lab
