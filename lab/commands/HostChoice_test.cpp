#include "lab/commands/HostChoice.h"

#include <cerrno>
#include <filesystem>
#include <list>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include "lab/host/HostSocket.h"
#include "lab/support/Descriptor.h"
#include "lab/support/ExitStatus.h"
#include "lab/support/TemporaryDirectory.h"
#include "platform/linux/LinuxLocalSockets.h"

namespace korvan::lab {
namespace {

std::filesystem::path containerIn(const TemporaryDirectory& directory) {
  return directory.path() / "container";
}

/// How a command ends that fails with the host of a directory.
int statusOfFailure(const TemporaryDirectory& directory) {
  LabSettings settings;
  settings.container = containerIn(directory);
  return useHost(settings, [](const LabSettings& /*settings*/) { return false; });
}

/// Connects to the host until that has to accept one connection before it can get another.
std::list<Descriptor> filledQueue(const TemporaryDirectory& directory) {
  const LinuxLocalSockets sockets;
  std::list<Descriptor> clients;
  const std::string socket = containerIn(directory) / "acp.sock";
  int connected = 0;
  while (connected == 0) {
    Descriptor& client = clients.emplace_back(sockets.socket());
    ::fcntl(client.get(), F_SETFL, O_NONBLOCK);
    connected = sockets.connect(client.get(), socket);
  }
  EXPECT_EQ(errno, EAGAIN);
  return clients;
}

TEST(HostChoice, TellsAHostThatFailedFromOneThatIsAbsent) {
  const TemporaryDirectory directory;
  EXPECT_EQ(statusOfFailure(directory), HostAbsent);
  const host::HostSocket socket(containerIn(directory));
  EXPECT_EQ(statusOfFailure(directory), NotVerified);
}

TEST(HostChoice, DoesNotWaitForAHostThatAcceptsNobody) {
  const TemporaryDirectory directory;
  const host::HostSocket socket(containerIn(directory));
  ::listen(socket.descriptor(), 0);
  const auto clients = filledQueue(directory);
  EXPECT_EQ(statusOfFailure(directory), NotVerified);
}

}  // namespace
}  // namespace korvan::lab
