#include "lab/system/PatientServices.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "lab/support/Descriptor.h"
#include "lab/support/TemporaryDirectory.h"
#include "platform/fake/FakeClock.h"
#include "platform/linux/LinuxLocalSockets.h"

namespace korvan::lab {
namespace {

using std::chrono_literals::operator""ms;

/// Two ends of a connection, at one of which nobody does anything.
struct Pair {
  Pair() {
    std::array<int, 2> ends{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    ours = Descriptor(ends[0]);
    theirs = Descriptor(ends[1]);
  }
  Descriptor ours;
  Descriptor theirs;
};

class PatientServices : public testing::Test {
 protected:
  PatientServices() { patience_.restart(); }

  Patience patience_{20ms};
  LinuxLocalSockets kernel_;
  PatientSockets sockets_{kernel_, patience_};
};

TEST_F(PatientServices, GiveUpAnAnswerThatDoesNotCome) {
  const Pair pair;
  std::array<std::uint8_t, 4> answer{};
  EXPECT_LT(sockets_.recv(pair.ours.get(), answer), 0);
  EXPECT_EQ(errno, ETIMEDOUT);
  EXPECT_TRUE(patience_.gaveUp());
  EXPECT_EQ(patience_.waitsFor(), "answer");
}

TEST_F(PatientServices, GiveUpARequestThatIsNotTaken) {
  const Pair pair;
  const std::vector<std::uint8_t> request(std::size_t{8} << 20U);
  std::ptrdiff_t sent = 0;
  while ((sent = sockets_.send(pair.ours.get(), request)) > 0) {
  }
  EXPECT_EQ(errno, ETIMEDOUT);
  EXPECT_EQ(patience_.waitsFor(), "take the request");
}

TEST_F(PatientServices, GiveUpAConnectionThatIsNotAccepted) {
  const TemporaryDirectory directory;
  const std::string path = directory.path() / "socket";
  const Descriptor listener(kernel_.socket());
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, path.size());
  ASSERT_EQ(::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(::listen(listener.get(), 0), 0);
  const Descriptor queued(kernel_.socket());
  ASSERT_EQ(kernel_.connect(queued.get(), path), 0);
  const Descriptor tooMany(kernel_.socket());
  EXPECT_LT(sockets_.connect(tooMany.get(), path), 0);
  EXPECT_EQ(errno, ETIMEDOUT);
  EXPECT_EQ(patience_.waitsFor(), "accept the connection");
}

TEST_F(PatientServices, DoNothingMoreOnceTheTimeIsOver) {
  const Pair pair;
  std::array<std::uint8_t, 4> bytes{};
  ASSERT_LT(sockets_.recv(pair.ours.get(), bytes), 0);
  EXPECT_LT(sockets_.send(pair.ours.get(), bytes), 0);
  EXPECT_EQ(errno, ETIMEDOUT);
  FakeClock real;
  const PatientClock clock(real, patience_);
  clock.usleep(1'000'000);
  EXPECT_TRUE(real.sleeps.empty());
  EXPECT_EQ(clock.systemUptime(), std::numeric_limits<double>::infinity());
}

TEST_F(PatientServices, StartAfreshWithEachCall) {
  const Pair pair;
  std::array<std::uint8_t, 1> byte{};
  ASSERT_LT(sockets_.recv(pair.ours.get(), byte), 0);
  patience_.restart();
  EXPECT_FALSE(patience_.gaveUp());
  EXPECT_EQ(kernel_.send(pair.theirs.get(), byte), 1);
  EXPECT_EQ(sockets_.recv(pair.ours.get(), byte), 1);
}

TEST(PatienceWithoutALimit, IsNeverOver) {
  const Patience patience(std::nullopt);
  EXPECT_FALSE(patience.isOver());
  EXPECT_EQ(patience.left(), std::nullopt);
  LinuxLocalSockets kernel;
  Patience endless(std::nullopt);
  const Pair pair;
  std::array<std::uint8_t, 1> byte{};
  EXPECT_EQ(kernel.send(pair.theirs.get(), byte), 1);
  EXPECT_EQ(PatientSockets(kernel, endless).recv(pair.ours.get(), byte), 1);
}

}  // namespace
}  // namespace korvan::lab
