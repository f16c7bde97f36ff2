#include "platform/linux/gtk/DisplayServer_testing.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include <fcntl.h>
#include <glib.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace korvan {
namespace {

/// What the other end writes until it closes, or up to the end of the line.
std::string readLine(int descriptor) {
  std::string line;
  char character = 0;
  while (::read(descriptor, &character, 1) == 1 && character != '\n') {
    line += character;
  }
  return line;
}

/// Starts the server, which ends when this process does, and which says on descriptor 3 what number
/// it found free for its display.
pid_t start(int numberDescriptor) {
  constexpr int ChildsDescriptor = 3;
  posix_spawn_file_actions_t actions{};
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, numberDescriptor, ChildsDescriptor);
  const std::array<const char*, 13> arguments = {
      "setpriv", "--pdeathsig",  "TERM",      "Xvfb", "-displayfd", "3",    "-screen",
      "0",       "1400x1000x24", "-nolisten", "tcp",  "-noreset",   nullptr};
  pid_t process = -1;
  const int error = ::posix_spawnp(&process, arguments.front(), &actions, nullptr,
                                   const_cast<char* const*>(arguments.data()), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) {
    throw std::runtime_error("setpriv does not start");
  }
  return process;
}

}  // namespace

DisplayServer::DisplayServer() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipe");
  }
  process_ = start(ends[1]);
  ::close(ends[1]);
  const std::string number = readLine(ends[0]);
  ::close(ends[0]);
  if (number.empty()) {
    ::waitpid(process_, nullptr, 0);
    throw std::runtime_error("Xvfb does not start");
  }
  g_setenv("DISPLAY", (":" + number).c_str(), TRUE);
  g_unsetenv("WAYLAND_DISPLAY");
  g_setenv("GDK_BACKEND", "x11", TRUE);
  g_setenv("GSK_RENDERER", "cairo", TRUE);
  g_setenv("GTK_A11Y", "test", TRUE);
  g_setenv("GSETTINGS_BACKEND", "memory", TRUE);
}

DisplayServer::~DisplayServer() {
  ::kill(process_, SIGTERM);
  ::waitpid(process_, nullptr, 0);
}

std::string DisplayServer::xdotool(const std::vector<std::string>& arguments) {
  std::vector<const char*> command = {"xdotool"};
  for (const std::string& argument : arguments) {
    command.push_back(argument.c_str());
  }
  command.push_back(nullptr);
  gchar* said = nullptr;
  gint status = -1;
  GError* error = nullptr;
  g_spawn_sync(nullptr, const_cast<gchar**>(command.data()), nullptr, G_SPAWN_SEARCH_PATH, nullptr,
               nullptr, &said, nullptr, &status, &error);
  const std::string text = said == nullptr ? "" : said;
  g_free(said);
  if (error != nullptr || status != 0) {
    g_clear_error(&error);
    throw std::runtime_error("xdotool " + arguments.front() + " fails");
  }
  return text;
}

}  // namespace korvan
