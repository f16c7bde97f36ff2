// The exchange with the real system: the kernel's sockets, real processes, real signatures.

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "channel/ExchangeProviderMessage.h"
#include "channel/HostIdentifiers.h"
#include "channel/ProviderFrame.h"
#include "lab/processes/SampleHostProcess.h"
#include "lab/support/TemporaryDirectory.h"
#include "lab/system/CallRunner.h"
#include "lab/system/ForwardedSockets.h"
#include "platform/fake/FakeCodeSigning.h"
#include "platform/linux/LinuxLocalSockets.h"
#include "platform/linux/codesigning/LinuxCodeSigning.h"
#include "platform/linux/codesigning/SigningAuthority_testing.h"

namespace korvan::lab {
namespace {

namespace fs = std::filesystem;

constexpr uid_t Nobody = 65534;

#ifdef KORVAN_SANITIZED
constexpr bool SanitizersKeepFreedMemory = true;
#else
constexpr bool SanitizersKeepFreedMemory = false;
#endif

Data bodyOf(std::size_t size) { return Data(std::vector<std::uint8_t>(size)); }

Error posix(int code, std::string description) {
  return {.domain = ErrorDomain::posix,
          .code = code,
          .userInfo = ErrorUserInfo{std::move(description)}};
}

Error status(OSStatus code, const std::string& step, const std::string& text) {
  return {.domain = ErrorDomain::osStatus,
          .code = code,
          .userInfo = ErrorUserInfo{step + " failed: " + text}};
}

Error notValid(OSStatus code, const std::string& text) {
  return status(code, "Validating the Korvan peer code signature", text);
}

/// A peer that plays its part on a thread of its own, on one connection.
class ScriptedPeer {
 public:
  ScriptedPeer(const fs::path& path, const std::function<void(int connection)>& script)
      : listener_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.native().size());
    EXPECT_EQ(::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(::listen(listener_, 1), 0);
    thread_ = std::thread([this, script] {
      const int connection = ::accept(listener_, nullptr, nullptr);
      script(connection);
      ::close(connection);
    });
  }
  ScriptedPeer(const ScriptedPeer&) = delete;
  ScriptedPeer& operator=(const ScriptedPeer&) = delete;
  ScriptedPeer(ScriptedPeer&&) = delete;
  ScriptedPeer& operator=(ScriptedPeer&&) = delete;
  ~ScriptedPeer() {
    finish();
    ::close(listener_);
  }

  /// Waits until the part is played. A client that has not connected by now does not.
  void finish() {
    ::shutdown(listener_, SHUT_RDWR);
    if (thread_.joinable()) {
      thread_.join();
    }
  }

 private:
  int listener_;
  std::thread thread_;
};

/// Reads a request of `requestSize` bytes and answers with `answer`.
std::function<void(int)> answering(std::size_t requestSize, const Data& answer) {
  return [requestSize, answer](int connection) {
    std::vector<std::uint8_t> request(ProviderFramePrefix().size() + requestSize);
    EXPECT_EQ(::recv(connection, request.data(), request.size(), MSG_WAITALL), std::ssize(request));
    const ProviderFramePrefix prefix = encodeProviderFramePrefix(answer.size());
    EXPECT_EQ(::send(connection, prefix.data(), prefix.size(), MSG_NOSIGNAL), std::ssize(prefix));
    // Of an answer that is too long nobody reads the body.
    static_cast<void>(::send(connection, answer.bytes().data(), answer.size(), MSG_NOSIGNAL));
  };
}

// Where there is nobody, or nothing to connect to.

class RealSocket : public testing::Test {
 protected:
  /// Every peer is trusted.
  static ProviderExchange exchangeAt(const std::string& socket, const Data& request = bodyOf(10)) {
    return exchangeProviderMessage(LinuxLocalSockets(), FakeCodeSigning(), socket, request.bytes());
  }

  TemporaryDirectory directory;
  const fs::path path = directory.path() / "acp.sock";
};

TEST_F(RealSocket, FileThatIsNotASocketIsAFailedConnection) {
  std::ofstream(path) << "text";
  EXPECT_TRUE(exchangeAt(path).connectFailed);
}

TEST_F(RealSocket, PathOf103BytesConnectsAndOneOf104IsTooLong) {
  const ScriptedPeer peer(path, answering(10, bodyOf(1)));
  const std::string root = directory.path().string() + "/";
  const fs::path longest = root + std::string(LocalSockets::MaxPathSize - root.size(), 'p');
  fs::create_hard_link(path, longest);
  EXPECT_TRUE(exchangeAt(longest).response.has_value());

  const fs::path tooLong = root + std::string(LocalSockets::MaxPathSize + 1 - root.size(), 'p');
  fs::create_hard_link(path, tooLong);
  const auto result = exchangeAt(tooLong);
  EXPECT_EQ(result.response.error(),
            posix(ENAMETOOLONG, "The Korvan connection path is too long."));
  EXPECT_FALSE(result.connectFailed);
}

// Bodies at the limits.

TEST_F(RealSocket, BodiesOfOneByteAndFourMebibytesGoBothWays) {
  for (const std::size_t size : {std::size_t{1}, MaxProviderMessageSize}) {
    const fs::path place = path.string() + std::to_string(size);
    const ScriptedPeer peer(place, answering(size, bodyOf(size)));
    const auto result = exchangeAt(place, bodyOf(size));
    ASSERT_TRUE(result.response.has_value());
    EXPECT_EQ(result.response->size(), size);
  }
}

/// Returns once the kernel has put the thread to sleep, which waits for what only its peer can do.
void waitUntilAsleep(pid_t thread) {
  const std::string path = "/proc/self/task/" + std::to_string(thread) + "/stat";
  std::string identifier;
  std::string name;
  std::string state;
  while (state != "S") {
    std::this_thread::yield();
    std::ifstream(path) >> identifier >> name >> state;
  }
}

TEST_F(RealSocket, WaitsForAPeerThatStallsAtEveryByteOfItsAnswer) {
  constexpr std::size_t RequestSize = 4'000'000;
  constexpr std::size_t RequestPart = 250'000;
  const std::string answer("\0\0\0\5Later", 9);
  std::size_t received = 0;
  ScriptedPeer peer(path, [&, client = ::gettid()](int connection) {
    std::vector<char> part(RequestPart);
    while (received < 4 + RequestSize) {
      waitUntilAsleep(client);
      const std::size_t left = 4 + RequestSize - received;
      const ssize_t count =
          ::recv(connection, part.data(), std::min(left, part.size()), MSG_WAITALL);
      ASSERT_GT(count, 0);
      received += static_cast<std::size_t>(count);
    }
    for (const char& byte : answer) {
      waitUntilAsleep(client);
      ASSERT_EQ(::send(connection, &byte, 1, MSG_NOSIGNAL), 1);
    }
  });
  const auto result = exchangeAt(path, bodyOf(RequestSize));
  peer.finish();
  EXPECT_EQ(received, 4 + RequestSize);
  ASSERT_TRUE(result.response.has_value());
  const auto body = result.response->bytes();
  EXPECT_EQ(std::string(body.begin(), body.end()), "Later");
}

// Peers that are not the host. Each is a sample host that tells how many bytes it was sent.

class RealPeer : public testing::Test {
 protected:
  /// Without symbols, since every request has the whole program read and hashed.
  void SetUp() override {
    const std::string strip = "strip -o " + program.string() + " " KORVAN_SAMPLE_HOST;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread runs yet
    ASSERT_EQ(std::system(strip.c_str()), 0);
  }

  void start() {
    peer = std::make_unique<SampleHostProcess>(
        program, std::vector<std::string>{"--container", container.string()});
    EXPECT_EQ(peer->nextEvent().at("event"), "ready");
  }

  std::expected<Data, Error> exchange() { return exchangeThrough(LinuxLocalSockets()); }

  std::expected<Data, Error> exchangeThrough(const LocalSockets& sockets) {
    const auto result =
        exchangeProviderMessage(sockets, LinuxCodeSigning(authority.pem()),
                                (container / "acp.sock").native(), bodyOf(10).bytes());
    EXPECT_FALSE(result.connectFailed);
    return result.response;
  }

  void expectTurnedAway(const Error& expected) {
    start();
    const auto response = exchange();
    ASSERT_FALSE(response.has_value());
    EXPECT_EQ(response.error(), expected);
    expectSentNothing();
  }

  void expectSentNothing() {
    const auto event = peer->nextEvent();
    EXPECT_EQ(event.at("event"), "connection");
    EXPECT_EQ(event.at("bytesReceived"), 0);
  }

  TemporaryDirectory directory;
  fs::path program = directory.path() / "host";
  fs::path container = directory.path() / "container";
  SigningAuthority authority;
  SignatureRecipe recipe{.organizationalUnit = std::string(HostTeamIdentifier),
                         .commonName = std::string(HostBundleIdentifier)};
  std::unique_ptr<SampleHostProcess> peer;
};

TEST_F(RealPeer, GenuineHostIsAnswered) {
  authority.sign(program, recipe);
  start();
  EXPECT_TRUE(exchange().has_value());
  EXPECT_EQ(peer->nextEvent().at("bytesReceived"), 14);
}

TEST_F(RealPeer, UnsignedPeerIsSentNothing) {
  expectTurnedAway(notValid(-67062, "the program is not signed"));
}

TEST_F(RealPeer, PeerSignedByAnotherAuthorityIsSentNothing) {
  SigningAuthority().sign(program, recipe);
  expectTurnedAway(notValid(-67050, "the program does not satisfy the code requirement"));
}

TEST_F(RealPeer, PeerOfAnotherTeamIsSentNothing) {
  recipe.organizationalUnit = "OTHERTEAM1";
  authority.sign(program, recipe);
  expectTurnedAway(notValid(-67050, "the program does not satisfy the code requirement"));
}

TEST_F(RealPeer, PeerWithAnotherIdentifierIsSentNothing) {
  recipe.commonName = "example.other.host";
  authority.sign(program, recipe);
  expectTurnedAway(notValid(-67050, "the program does not satisfy the code requirement"));
}

TEST_F(RealPeer, PeerWithAnExpiredCertificateIsSentNothing) {
  recipe.validFrom = -2;
  recipe.validUntil = -1;
  authority.sign(program, recipe);
  expectTurnedAway(notValid(-2147409654, "the certificate of the signature has expired"));
}

TEST_F(RealPeer, PeerChangedAfterSigningIsSentNothing) {
  authority.sign(program, recipe);
  std::ofstream(program, std::ios::app) << "x";
  expectTurnedAway(notValid(-67061, "the signature is not valid for the program"));
}

/// Lets something happen right after the peer's process id has become known.
class SocketsWithAPause : public ForwardedSockets {
 public:
  SocketsWithAPause(const LocalSockets& sockets, std::function<void()> pause)
      : ForwardedSockets(sockets), pause_(std::move(pause)) {}

  [[nodiscard]] int getPeerProcessIdentifier(int descriptor, std::int32_t& process) const override {
    const int result = ForwardedSockets::getPeerProcessIdentifier(descriptor, process);
    pause_();
    return result;
  }
  [[nodiscard]] std::ptrdiff_t send(int descriptor,
                                    std::span<const std::uint8_t> bytes) const override {
    ++sends;
    return ForwardedSockets::send(descriptor, bytes);
  }

  mutable int sends = 0;

 private:
  std::function<void()> pause_;
};

TEST_F(RealPeer, PeerThatIsGoneBeforeTheCheckIsSentNothing) {
  authority.sign(program, recipe);
  start();
  const LinuxLocalSockets kernel;
  const SocketsWithAPause sockets(kernel, [this] { peer->stop(); });
  EXPECT_EQ(exchangeThrough(sockets).error(),
            status(-67065, "Reading the Korvan peer code signature", "there is no such process"));
  EXPECT_EQ(sockets.sends, 0);
}

TEST_F(RealPeer, PeerOfAnotherUserIsSentNothingEvenWhenItsSignatureIsGood) {
  if (::getuid() != 0) {
    GTEST_SKIP() << "Only root can start a process of another user.";
  }
  authority.sign(program, recipe);
  fs::create_directory(container);
  ASSERT_EQ(::chown(container.c_str(), Nobody, Nobody), 0);
  fs::permissions(container, fs::perms::owner_all);
  fs::permissions(directory.path(), fs::perms::owner_all | fs::perms::others_exec);
  fs::permissions(program, fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
  peer = std::make_unique<SampleHostProcess>(
      "/usr/bin/setpriv",
      std::vector<std::string>{"--reuid=65534", "--regid=65534", "--clear-groups", program.string(),
                               "--container", container.string()});
  ASSERT_EQ(peer->nextEvent().at("event"), "ready");
  EXPECT_EQ(
      exchange().error(),
      posix(EACCES, "The Korvan peer process identity is unavailable or belongs to another user."));
  expectSentNothing();
}

// Nothing is left behind.

std::ptrdiff_t entriesOf(const char* directory) {
  return std::distance(fs::directory_iterator(directory), fs::directory_iterator());
}

long residentPages() {
  std::ifstream statm("/proc/self/statm");
  long total = 0;
  long resident = 0;
  statm >> total >> resident;
  return resident;
}

TEST_F(RealPeer, AThousandRequestsLeaveDescriptorsThreadsAndMemoryAsTheyWere) {
  authority.sign(program, recipe);
  start();
  CallRunner runner({.container = container.string(),
                     .hostApplication = std::string(LabSettings::None),
                     .trustAnchorPem = authority.pem()});
  const auto makeRequests = [&](int count) {
    for (int i = 0; i < count; ++i) {
      EXPECT_TRUE(
          std::holds_alternative<CompletedConfiguration>(runner.run(configurationCall()).outcome));
      EXPECT_EQ(peer->nextEvent().at("event"), "connection");
    }
  };
  makeRequests(100);
  const auto descriptors = entriesOf("/proc/self/fd");
  const long pages = residentPages();
  makeRequests(1'000);
  EXPECT_EQ(entriesOf("/proc/self/fd"), descriptors);
  // GLib keeps some for later.
  constexpr std::ptrdiff_t AllowedThreads = 16;
  EXPECT_LE(entriesOf("/proc/self/task"), AllowedThreads);
  if (!SanitizersKeepFreedMemory) {
    constexpr long AllowedPages = 256;
    EXPECT_LE(residentPages(), pages + AllowedPages);
  }
}

}  // namespace
}  // namespace korvan::lab
