#include "platform/linux/LinuxLocalSockets.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/TemporaryDirectory_testing.h"

namespace korvan {
namespace {

constexpr std::array<std::uint8_t, 3> Bytes = {1, 2, 3};

class LinuxLocalSocketsTest : public testing::Test {
 protected:
  void SetUp() override {
    client_ = sockets_.socket();
    ASSERT_GE(client_, 0);
  }

  void TearDown() override {
    for (const int descriptor : {client_, listener_, accepted_}) {
      if (descriptor >= 0) {
        sockets_.close(descriptor);
      }
    }
  }

  /// A listener at `path`, whose address is given with its terminator, as most programs do.
  void listenAt(const std::string& path) {
    listener_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_GE(listener_, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::ranges::copy(path, address.sun_path);
    ASSERT_EQ(::bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener_, 1), 0);
  }

  void connectBoth() {
    listenAt(path());
    ASSERT_EQ(sockets_.connect(client_, path()), 0);
    accepted_ = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    ASSERT_GE(accepted_, 0);
  }

  [[nodiscard]] std::string path() const { return temporary_.path() / "acp.sock"; }

  /// A path of exactly so many bytes in the temporary directory.
  [[nodiscard]] std::string pathOf(std::size_t size) const {
    std::string path = temporary_.path() / "";
    return path.append(size - path.size(), 's');
  }

  [[nodiscard]] bool isIntact() const { return ::fcntl(client_, F_GETFD) >= 0; }

  const TemporaryDirectory temporary_;
  const LinuxLocalSockets sockets_;
  int client_ = -1;
  int listener_ = -1;
  int accepted_ = -1;
};

TEST_F(LinuxLocalSocketsTest, MakesABlockingStreamSocketThatExecCloses) {
  int type = 0;
  socklen_t size = sizeof type;
  ASSERT_EQ(::getsockopt(client_, SOL_SOCKET, SO_TYPE, &type, &size), 0);
  EXPECT_EQ(type, SOCK_STREAM);
  EXPECT_EQ(::fcntl(client_, F_GETFL) & O_NONBLOCK, 0);
  EXPECT_EQ(::fcntl(client_, F_GETFD), FD_CLOEXEC);
}

TEST_F(LinuxLocalSocketsTest, ConnectsToTheListenerAtThePath) { connectBoth(); }

TEST_F(LinuxLocalSocketsTest, ConnectsToThePartOfAViewThatThePathIs) {
  listenAt(path());
  const std::string longer = path() + "-and-more";
  EXPECT_EQ(sockets_.connect(client_, std::string_view(longer).substr(0, path().size())), 0);
}

TEST_F(LinuxLocalSocketsTest, ConnectsToTheLongestPath) {
  const std::string longest = pathOf(LocalSockets::MaxPathSize);
  listenAt(longest);
  EXPECT_EQ(sockets_.connect(client_, longest), 0);
}

TEST_F(LinuxLocalSocketsTest, RefusesALongerPath) {
  const std::string tooLong = pathOf(LocalSockets::MaxPathSize + 1);
  listenAt(tooLong);
  EXPECT_NE(sockets_.connect(client_, tooLong), 0);
  EXPECT_EQ(errno, ENAMETOOLONG);
  EXPECT_NE(sockets_.connect(client_, std::string(5000, 's')), 0);
  EXPECT_TRUE(isIntact());
}

TEST_F(LinuxLocalSocketsTest, TellsWhyItCouldNotConnect) {
  EXPECT_NE(sockets_.connect(client_, path()), 0);
  EXPECT_EQ(errno, ENOENT);
  listenAt(path());
  sockets_.close(listener_);
  listener_ = -1;
  EXPECT_NE(sockets_.connect(client_, path()), 0);
  EXPECT_EQ(errno, ECONNREFUSED);
}

TEST_F(LinuxLocalSocketsTest, TellsThePeersIds) {
  connectBoth();
  errno = E2BIG;
  std::int64_t user = -1;
  std::int64_t group = -1;
  std::int32_t process = -1;
  EXPECT_EQ(sockets_.getpeereid(client_, user, group), 0);
  EXPECT_EQ(user, ::geteuid());
  EXPECT_EQ(group, ::getegid());
  EXPECT_EQ(sockets_.getPeerProcessIdentifier(client_, process), 0);
  EXPECT_EQ(process, ::getpid());
  EXPECT_EQ(errno, E2BIG);
}

TEST_F(LinuxLocalSocketsTest, LeavesIdsAloneThatItCannotTell) {
  std::int64_t user = -1;
  std::int64_t group = -2;
  std::int32_t process = -3;
  EXPECT_NE(sockets_.getpeereid(-1, user, group), 0);
  EXPECT_EQ(errno, EBADF);
  errno = 0;
  EXPECT_NE(sockets_.getPeerProcessIdentifier(-1, process), 0);
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(user, -1);
  EXPECT_EQ(group, -2);
  EXPECT_EQ(process, -3);
}

TEST_F(LinuxLocalSocketsTest, TellsTheIdsOfAPeerOfAnotherUser) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "Only root can become another user.";
  }
  constexpr uid_t Nobody = 65534;
  std::array<int, 2> ready{};
  ASSERT_EQ(::pipe2(ready.data(), O_CLOEXEC), 0);
  listenAt(path());
  const pid_t peer = ::fork();
  if (peer == 0) {
    // Listening again puts the new ids on the socket; then it lives until the test is done.
    const bool listens = ::setresgid(Nobody, Nobody, Nobody) == 0 &&
                         ::setresuid(Nobody, Nobody, Nobody) == 0 &&
                         ::prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && ::listen(listener_, 1) == 0;
    const char result = listens ? 'y' : 'n';
    (void)!::write(ready[1], &result, 1);
    ::pause();
    ::_exit(0);
  }
  char result = 0;
  EXPECT_EQ(::read(ready[0], &result, 1), 1);
  EXPECT_EQ(result, 'y');
  EXPECT_EQ(sockets_.connect(client_, path()), 0);
  std::int64_t user = -1;
  std::int64_t group = -1;
  std::int32_t process = -1;
  EXPECT_EQ(sockets_.getpeereid(client_, user, group), 0);
  EXPECT_EQ(sockets_.getPeerProcessIdentifier(client_, process), 0);
  EXPECT_EQ(user, Nobody);
  EXPECT_EQ(group, Nobody);
  EXPECT_EQ(process, peer);
  ::kill(peer, SIGKILL);
  ::waitpid(peer, nullptr, 0);
  ::close(ready[0]);
  ::close(ready[1]);
}

TEST_F(LinuxLocalSocketsTest, TellsThisProcessesUser) { EXPECT_EQ(sockets_.getuid(), ::getuid()); }

TEST_F(LinuxLocalSocketsTest, SendsAndReceives) {
  connectBoth();
  EXPECT_EQ(sockets_.send(client_, Bytes), 3);
  std::array<std::uint8_t, 8> received{};
  EXPECT_EQ(sockets_.recv(accepted_, received), 3);
  EXPECT_TRUE(std::ranges::equal(std::span(received).first(3), Bytes));
}

TEST_F(LinuxLocalSocketsTest, ReceivesNoMoreThanThereIsRoomFor) {
  connectBoth();
  EXPECT_EQ(sockets_.send(client_, Bytes), 3);
  std::array<std::uint8_t, 2> received{};
  EXPECT_EQ(sockets_.recv(accepted_, received), 2);
  EXPECT_EQ(sockets_.recv(accepted_, received), 1);
  EXPECT_EQ(received[0], 3);
}

TEST_F(LinuxLocalSocketsTest, ReceivesNothingFromAPeerThatHasClosed) {
  connectBoth();
  sockets_.close(std::exchange(accepted_, -1));
  std::array<std::uint8_t, 2> received{};
  EXPECT_EQ(sockets_.recv(client_, received), 0);
}

TEST_F(LinuxLocalSocketsTest, SendingToAPeerThatHasClosedRaisesNoSignal) {
  connectBoth();
  sockets_.close(std::exchange(accepted_, -1));
  EXPECT_LT(sockets_.send(client_, Bytes), 0);
  EXPECT_EQ(errno, EPIPE);
}

TEST_F(LinuxLocalSocketsTest, ClosesTheDescriptor) {
  const int descriptor = std::exchange(client_, -1);
  sockets_.close(descriptor);
  EXPECT_LT(::fcntl(descriptor, F_GETFD), 0);
}

TEST_F(LinuxLocalSocketsTest, ASignalInterruptsAReceive) {
  connectBoth();
  struct sigaction before{};
  struct sigaction noticed{};
  noticed.sa_handler = [](int) {};  // without SA_RESTART
  ASSERT_EQ(::sigaction(SIGUSR1, &noticed, &before), 0);
  std::ptrdiff_t result = 0;
  int error = 0;
  std::atomic<bool> returned = false;
  std::thread receiver([&] {
    std::array<std::uint8_t, 2> received{};
    result = sockets_.recv(client_, received);
    error = errno;
    returned = true;
  });
  // Whether the receiver blocks already cannot be seen from here, so it is signalled until it has.
  while (!returned) {
    ::pthread_kill(receiver.native_handle(), SIGUSR1);
    std::this_thread::yield();
  }
  receiver.join();
  EXPECT_LT(result, 0);
  EXPECT_EQ(error, EINTR);
  ::sigaction(SIGUSR1, &before, nullptr);
}

}  // namespace
}  // namespace korvan
