// Initializes GLib, and sends a byte to the socket at the path that is its argument.

#include <span>
#include <string_view>

#include <glib.h>
#include <sys/socket.h>
#include <sys/un.h>

int main(int argc, char** argv) {
  const std::span arguments(argv, static_cast<std::size_t>(argc));
  const std::string_view path = arguments.back();
  g_main_context_default();
  const int connection = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  return connection >= 0 &&
                 ::connect(connection, reinterpret_cast<const sockaddr*>(&address),
                           sizeof address) == 0 &&
                 ::send(connection, "x", 1, 0) == 1
             ? 0
             : 1;
}
