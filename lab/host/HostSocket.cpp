#include "lab/host/HostSocket.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "lab/support/SystemError.h"

namespace korvan::lab::host {
namespace {

constexpr mode_t OwnerOnlyDirectory = 0700;
constexpr mode_t OwnerOnlyFile = 0600;

std::string socketPath(const std::filesystem::path& container) {
  std::string path = std::filesystem::absolute(container / "acp.sock").lexically_normal();
  if (path.size() > HostSocket::MaxPathSize) {
    throw std::runtime_error("The socket path " + path + " has " + std::to_string(path.size()) +
                             " bytes; at most " + std::to_string(HostSocket::MaxPathSize) +
                             " are possible.");
  }
  return path;
}

/// The extension takes any other container for none.
void requirePrivate(const std::string& container) {
  struct stat status{};
  requireSystem(::lstat(container.c_str(), &status) == 0, "Looking at the container " + container);
  if (S_ISLNK(status.st_mode)) {
    throw std::runtime_error("The container " + container +
                             " is a symbolic link; name the directory itself.");
  }
  if (status.st_uid != ::geteuid()) {
    throw std::runtime_error("The container " + container + " belongs to another user.");
  }
  if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    throw std::runtime_error("The container " + container + " is open to others; run: chmod 700 " +
                             container);
  }
}

/// Opens the container and keeps other hosts from making or replacing a socket in it for as long as
/// the descriptor is open: between two hosts that start together, one could take the other's fresh
/// socket for a stale one.
Descriptor lockContainer(const std::string& container) {
  const bool made = ::mkdir(container.c_str(), OwnerOnlyDirectory) == 0 || errno == EEXIST;
  requireSystem(made, "Making the container " + container);
  Descriptor directory(::open(container.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  requireSystem(directory.get() >= 0, "Opening the container " + container);
  requirePrivate(container);
  requireSystem(::flock(directory.get(), LOCK_EX) == 0, "Locking the container " + container);
  return directory;
}

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::ranges::copy(path, static_cast<char*>(address.sun_path));
  return address;
}

const sockaddr* generic(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

Descriptor newSocket() {
  Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  requireSystem(socket.get() >= 0, "Making a socket");
  return socket;
}

void removeStale(const std::string& path) {
  struct stat status{};
  if (::lstat(path.c_str(), &status) != 0) {
    return;
  }
  if (!S_ISSOCK(status.st_mode)) {
    throw std::runtime_error(path + " is in the way: it is not a socket.");
  }
  const sockaddr_un address = addressOf(path);
  // Not blocking, so that a host too busy to accept is told from one that is gone.
  const Descriptor probe(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  requireSystem(probe.get() >= 0, "Making a socket");
  if (::connect(probe.get(), generic(address), sizeof address) == 0 || errno == EAGAIN) {
    throw std::runtime_error("Another host is listening on " + path + ".");
  }
  requireSystem(errno == ECONNREFUSED, "Connecting to " + path);
  requireSystem(::unlink(path.c_str()) == 0, "Removing " + path);
}

}  // namespace

HostSocket::HostSocket(const std::filesystem::path& container) : path_(socketPath(container)) {
  const Descriptor lock = lockContainer(std::filesystem::path(path_).parent_path());
  removeStale(path_);
  listener_ = newSocket();
  // The file that bind makes takes its mode from the socket: it is never open to others.
  requireSystem(::fchmod(listener_.get(), OwnerOnlyFile) == 0, "Restricting the socket");
  const sockaddr_un address = addressOf(path_);
  requireSystem(::bind(listener_.get(), generic(address), sizeof address) == 0, "Making " + path_);
  struct stat status{};
  if (::lstat(path_.c_str(), &status) != 0 || ::listen(listener_.get(), SOMAXCONN) != 0) {
    const int error = errno;
    ::unlink(path_.c_str());
    throw std::system_error(error, std::generic_category(), "Listening on " + path_);
  }
  inode_ = status.st_ino;
}

HostSocket::~HostSocket() {
  struct stat status{};
  if (::lstat(path_.c_str(), &status) == 0 && status.st_ino == inode_) {
    ::unlink(path_.c_str());
  }
}

}  // namespace korvan::lab::host
