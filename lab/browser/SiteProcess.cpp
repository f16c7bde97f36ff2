#include "lab/browser/SiteProcess.h"

#include <array>
#include <cerrno>
#include <stdexcept>
#include <utility>

#include <sys/wait.h>
#include <unistd.h>

namespace korvan::lab {

SiteProcess::SiteProcess(const std::filesystem::path& program, Finished finished)
    : finished_(std::move(finished)) {
  std::string name = program;
  std::array<char*, 2> arguments = {name.data(), nullptr};
  int input = -1;
  int output = -1;
  if (g_spawn_async_with_pipes(nullptr, arguments.data(), nullptr, G_SPAWN_DO_NOT_REAP_CHILD,
                               nullptr, nullptr, &process_, &input, &output, nullptr,
                               nullptr) == 0) {
    throw std::runtime_error(name + " does not start");
  }
  input_ = Descriptor(input);
  output_.reset(g_io_channel_unix_new(output));
  g_io_channel_set_close_on_unref(output_.get(), TRUE);
  const nlohmann::json first = nextLine();
  if (!first.is_object()) {
    stop();
    throw std::runtime_error(name + " does not serve");
  }
  url_ = first.at("url");
  // NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange): GLib means a set of them
  constexpr auto LineOrEnd = static_cast<GIOCondition>(G_IO_IN | G_IO_HUP);
  watch_ = g_io_add_watch(output_.get(), LineOrEnd, lineCame, this);
}

SiteProcess::~SiteProcess() {
  if (watch_ != 0) {
    g_source_remove(watch_);
  }
  stop();
}

void SiteProcess::stop() {
  input_ = Descriptor();
  while (::waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

void SiteProcess::tell(const nlohmann::json& story) const {
  const std::string line =
      story.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
  // Fails when the site has ended, which nobody then looks at.
  [[maybe_unused]] const ssize_t count = ::write(input_.get(), line.data(), line.size());
}

nlohmann::json SiteProcess::nextLine() const {
  char* line = nullptr;
  if (g_io_channel_read_line(output_.get(), &line, nullptr, nullptr, nullptr) !=
      G_IO_STATUS_NORMAL) {
    return nullptr;
  }
  auto json = nlohmann::json::parse(line, nullptr, false);
  g_free(line);
  return json;
}

gboolean SiteProcess::lineCame(GIOChannel* /*output*/, GIOCondition /*condition*/, gpointer site) {
  auto& self = *static_cast<SiteProcess*>(site);
  const nlohmann::json line = self.nextLine();
  if (!line.is_object()) {
    self.watch_ = 0;
    return G_SOURCE_REMOVE;
  }
  self.finished_(line.at("well"));
  return G_SOURCE_CONTINUE;
}

}  // namespace korvan::lab
