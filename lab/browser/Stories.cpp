#include "lab/browser/Stories.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include "lab/support/SystemError.h"

namespace korvan::lab {
namespace {

Descriptor datagramSocket() {
  Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  requireSystem(socket.get() >= 0, "making a socket");
  return socket;
}

sockaddr_un addressOf(const std::filesystem::path& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string& text = path.native();
  if (text.size() >= sizeof address.sun_path) {
    throw std::system_error(ENAMETOOLONG, std::generic_category(), text);
  }
  std::ranges::copy(text, std::begin(address.sun_path));
  return address;
}

const sockaddr* generic(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

/// A listener that is stopped must not hold up a page.
void limitWaiting(const Descriptor& socket) {
  const timeval second{.tv_sec = 1, .tv_usec = 0};
  ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &second, sizeof second);
}

bool sendStory(const Descriptor& socket, const sockaddr_un& address, const nlohmann::json& story) {
  // A host may send what is not UTF-8.
  const std::string text = story.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  return ::sendto(socket.get(), text.data(), text.size(), MSG_NOSIGNAL, generic(address),
                  sizeof address) == static_cast<ssize_t>(text.size());
}

}  // namespace

StoryListener::StoryListener(const std::filesystem::path& socket) : socket_(datagramSocket()) {
  const sockaddr_un address = addressOf(socket);
  requireSystem(::bind(socket_.get(), generic(address), sizeof address) == 0,
                "listening at " + socket.string());
}

std::optional<nlohmann::json> StoryListener::next() const {
  while (true) {
    const ssize_t size = ::recv(socket_.get(), nullptr, 0, MSG_PEEK | MSG_TRUNC | MSG_DONTWAIT);
    if (size < 0) {
      return std::nullopt;
    }
    std::string text(static_cast<std::size_t>(size), '\0');
    ::recv(socket_.get(), text.data(), text.size(), MSG_DONTWAIT);
    if (auto story = nlohmann::json::parse(text, nullptr, false); story.is_object()) {
      return story;
    }
  }
}

bool tellStory(const std::filesystem::path& socket, const nlohmann::json& story) {
  const Descriptor sending = datagramSocket();
  limitWaiting(sending);
  const sockaddr_un address = addressOf(socket);
  if (sendStory(sending, address, story)) {
    return true;
  }
  if (errno != EMSGSIZE) {
    return false;
  }
  nlohmann::json shorter = story;
  shorter["request"] = nullptr;
  return sendStory(sending, address, shorter);
}

}  // namespace korvan::lab
