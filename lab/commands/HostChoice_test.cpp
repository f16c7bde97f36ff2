#include "lab/commands/HostChoice.h"

#include <cerrno>
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

/// How a command ends that fails with the host of a directory.
int statusOfFailure(const TemporaryDirectory& directory) {
  LabSettings settings;
  settings.container = directory.path();
  return useHost(settings, [](const LabSettings& /*settings*/) { return false; });
}

/// Connects to the host until that has to accept one connection before it can get another.
std::list<Descriptor> filledQueue(const TemporaryDirectory& directory) {
  const LinuxLocalSockets sockets;
  std::list<Descriptor> clients;
  const std::string socket = directory.path() / "acp.sock";
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
  const host::HostSocket socket(directory.path());
  EXPECT_EQ(statusOfFailure(directory), NotVerified);
}

TEST(HostChoice, DoesNotWaitForAHostThatAcceptsNobody) {
  const TemporaryDirectory directory;
  const host::HostSocket socket(directory.path());
  ::listen(socket.descriptor(), 0);
  const auto clients = filledQueue(directory);
  EXPECT_EQ(statusOfFailure(directory), NotVerified);
}

}  // namespace
}  // namespace korvan::lab
