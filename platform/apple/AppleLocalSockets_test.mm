#include "platform/apple/AppleLocalSockets.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace korvan {
namespace {

constexpr std::array<std::uint8_t, 3> Bytes = {1, 2, 3};

class AppleLocalSocketsTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string path = "/tmp/korvan-XXXXXX";
    ASSERT_NE(::mkdtemp(path.data()), nullptr);
    directory_ = path;
  }
  void TearDown() override {
    for (const int descriptor : {client_, listener_, server_}) {
      if (descriptor >= 0) {
        sockets_.close(descriptor);
      }
    }
    std::filesystem::remove_all(directory_);
  }

  /// A path of so many bytes in the test's directory.
  [[nodiscard]] std::string pathOfSize(std::size_t size) const {
    std::string path = directory_.string() + "/";
    path.append(size - path.size(), 's');
    return path;
  }

  void listenAt(const std::string& path) {
    listener_ = sockets_.socket();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::ranges::copy(path, address.sun_path);
    ASSERT_EQ(::bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener_, 1), 0);
  }

  void connectToListener() {
    const std::string path = pathOfSize(40);
    listenAt(path);
    client_ = sockets_.socket();
    ASSERT_EQ(sockets_.connect(client_, path), 0);
    server_ = ::accept(listener_, nullptr, nullptr);
    ASSERT_GE(server_, 0);
  }

  const AppleLocalSockets sockets_;
  std::filesystem::path directory_;
  int listener_ = -1;
  int client_ = -1;
  int server_ = -1;
};

TEST_F(AppleLocalSocketsTest, ConnectsToThePathOfTheGreatestSize) {
  const std::string path = pathOfSize(LocalSockets::MaxPathSize);
  listenAt(path);
  client_ = sockets_.socket();
  EXPECT_EQ(sockets_.connect(client_, path), 0) << errno;
}

TEST_F(AppleLocalSocketsTest, RefusesALongerPath) {
  client_ = sockets_.socket();
  EXPECT_NE(sockets_.connect(client_, pathOfSize(LocalSockets::MaxPathSize + 1)), 0);
  EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST_F(AppleLocalSocketsTest, SaysThatNobodyIsThere) {
  client_ = sockets_.socket();
  EXPECT_NE(sockets_.connect(client_, pathOfSize(40)), 0);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(AppleLocalSocketsTest, KnowsThePeer) {
  connectToListener();
  std::int64_t user = -1;
  std::int64_t group = -1;
  EXPECT_EQ(sockets_.getpeereid(client_, user, group), 0);
  EXPECT_EQ(user, sockets_.getuid());
  EXPECT_EQ(group, ::getegid());
  std::int32_t process = -1;
  EXPECT_EQ(sockets_.getPeerProcessIdentifier(client_, process), 0);
  EXPECT_EQ(process, ::getpid());
}

TEST_F(AppleLocalSocketsTest, LeavesThePeersIdsAloneOnFailure) {
  client_ = sockets_.socket();
  std::int64_t user = -1;
  std::int64_t group = -1;
  EXPECT_NE(sockets_.getpeereid(client_, user, group), 0);
  EXPECT_EQ(user, -1);
  EXPECT_EQ(group, -1);
}

TEST_F(AppleLocalSocketsTest, CarriesBytesAndTheEnd) {
  connectToListener();
  EXPECT_EQ(sockets_.send(client_, Bytes), 3);
  std::array<std::uint8_t, 8> received{};
  EXPECT_EQ(sockets_.recv(server_, received), 3);
  sockets_.close(client_);
  client_ = -1;
  EXPECT_EQ(sockets_.recv(server_, received), 0);
}

TEST_F(AppleLocalSocketsTest, SendingToAClosedPeerFailsWithoutASignal) {
  connectToListener();
  sockets_.close(server_);
  server_ = -1;
  EXPECT_LT(sockets_.send(client_, Bytes), 0);
  EXPECT_EQ(errno, EPIPE);
}

}  // namespace
}  // namespace korvan
