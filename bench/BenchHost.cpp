#include "bench/BenchHost.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <span>
#include <stdexcept>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "channel/ProviderFrame.h"

namespace korvan::bench {
namespace {

bool receiveFromExtension(int descriptor, std::span<std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t received = ::recv(descriptor, bytes.data(), bytes.size(), 0);
    if (received <= 0) {
      return false;
    }
    bytes = bytes.subspan(static_cast<std::size_t>(received));
  }
  return true;
}

void sendToExtension(int descriptor, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) {
      return;
    }
    bytes = bytes.subspan(static_cast<std::size_t>(sent));
  }
}

std::string makeDirectory() {
  std::string path = (std::filesystem::temp_directory_path() / "korvan-bench-XXXXXX").string();
  if (::mkdtemp(path.data()) == nullptr) {
    throw std::runtime_error("cannot make a directory like " + path);
  }
  return path;
}

int listenAt(const std::string& path) {
  const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) {
    throw std::runtime_error("the path is too long for a socket: " + path);
  }
  std::memcpy(address.sun_path, path.data(), path.size());
  if (listener < 0 ||
      ::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
      ::listen(listener, SOMAXCONN) != 0) {
    throw std::runtime_error("cannot listen at " + path);
  }
  return listener;
}

std::vector<std::uint8_t> framed(const Data& body) {
  const ProviderFramePrefix prefix = encodeProviderFramePrefix(body.size());
  std::vector<std::uint8_t> frame(prefix.begin(), prefix.end());
  frame.insert(frame.end(), body.bytes().begin(), body.bytes().end());
  return frame;
}

}  // namespace

BenchHost::BenchHost(const Data& answer)
    : answerFrame_(framed(answer)),
      directory_(makeDirectory()),
      socketPath_(directory_ + "/acp.sock"),
      listener_(listenAt(socketPath_)),
      thread_([this] { serve(); }) {}

BenchHost::~BenchHost() {
  ::shutdown(listener_, SHUT_RDWR);
  thread_.join();
  ::close(listener_);
  std::filesystem::remove_all(directory_);
}

void BenchHost::serve() const {
  std::vector<std::uint8_t> request(MaxProviderMessageSize);
  int connection = -1;
  while ((connection = ::accept(listener_, nullptr, nullptr)) >= 0) {
    ProviderFramePrefix prefix{};
    if (receiveFromExtension(connection, prefix) &&
        receiveFromExtension(connection,
                             std::span(request).first(decodeProviderFramePrefix(prefix)))) {
      sendToExtension(connection, answerFrame_);
    }
    ::close(connection);
  }
}

}  // namespace korvan::bench
