#include "lab/system/MessageTap.h"

#include <cerrno>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/fake/FakeLocalSockets.h"

namespace korvan::lab {
namespace {

using Bytes = std::vector<std::uint8_t>;

const Bytes Frame = {0, 0, 0, 2, 'h', 'i'};
const Bytes Answer = {0, 0, 0, 1, 'y'};

std::string textOf(const Data& data) { return {data.bytes().begin(), data.bytes().end()}; }

class MessageTapTest : public testing::Test {
 protected:
  void peerAnswers(std::function<Bytes(const Bytes&)> answer, std::size_t bytesPerCall = 100) {
    sockets_.peer.answer = std::move(answer);
    sockets_.peer.bytesPerCall = bytesPerCall;
  }

  int connected() {
    const int descriptor = tap_.socket();
    EXPECT_EQ(tap_.connect(descriptor, "/socket"), 0);
    return descriptor;
  }

  void exchange(int descriptor, const Bytes& request, std::size_t wanted) {
    for (std::size_t sent = 0; sent < request.size();) {
      sent += static_cast<std::size_t>(tap_.send(descriptor, std::span(request).subspan(sent)));
    }
    Bytes buffer(wanted);
    for (std::size_t got = 0; got < wanted;) {
      const auto count = tap_.recv(descriptor, std::span(buffer).subspan(got));
      if (count <= 0) {
        break;
      }
      got += static_cast<std::size_t>(count);
    }
  }

  FakeLocalSockets sockets_;
  MessageTap tap_{sockets_};
};

TEST_F(MessageTapTest, HearsBothDirectionsByteByByte) {
  peerAnswers([](const Bytes&) { return Answer; }, 1);
  const int descriptor = connected();
  exchange(descriptor, Frame, Answer.size());
  tap_.close(descriptor);
  const auto frames = tap_.frames();
  ASSERT_EQ(frames.size(), 2U);
  EXPECT_EQ(frames[0].direction, Direction::request);
  EXPECT_EQ(textOf(frames[0].body), "hi");
  EXPECT_EQ(frames[1].direction, Direction::response);
  EXPECT_EQ(textOf(frames[1].body), "y");
  EXPECT_EQ(sockets_.connections[0].received, Frame);
}

TEST_F(MessageTapTest, KeepsTheOrderOfConnectionsAlsoOfOneDescriptor) {
  peerAnswers([](const Bytes& frame) { return frame; });
  const int first = connected();
  const int second = connected();
  exchange(second, {0, 0, 0, 1, '2'}, 5);
  exchange(first, {0, 0, 0, 1, '1'}, 5);
  std::string bodies;
  for (const RecordedFrame& frame : tap_.frames()) {
    bodies += textOf(frame.body);
  }
  EXPECT_EQ(bodies, "1122");
}

TEST_F(MessageTapTest, LeavesOutWhatWasCutShort) {
  using Row = std::pair<Bytes, std::size_t>;
  for (const auto& [answer, frames] : {Row{{}, 1}, Row{{0, 0, 0}, 1}, Row{{0, 0, 0, 2, 'y'}, 1},
                                       Row{{0, 0, 0, 0}, 1}, Row{{0, 0, 0, 1, 'y'}, 2}}) {
    const MessageTap tap(sockets_);
    peerAnswers([bytes = answer](const Bytes&) { return bytes; });
    const int descriptor = tap.socket();
    ASSERT_EQ(tap.connect(descriptor, "/socket"), 0);
    ASSERT_EQ(tap.send(descriptor, Frame), 6);
    Bytes buffer(16);
    (void)tap.recv(descriptor, buffer);
    EXPECT_EQ(tap.frames().size(), frames) << answer.size();
  }
}

TEST_F(MessageTapTest, TellsOfEachMessageOnceAsItGoesOverTheSocket) {
  std::vector<std::string> told;
  tap_.onMessage([&](const PassingMessage& message) {
    told.push_back((message.direction == Direction::request ? "request " : "response ") +
                   textOf(message.bytes));
  });
  peerAnswers([](const Bytes&) { return Answer; }, 1);
  const int descriptor = connected();
  exchange(descriptor, Frame, 0);
  EXPECT_EQ(told, std::vector<std::string>{"request hi"});
  exchange(descriptor, {}, Answer.size());
  tap_.close(descriptor);
  EXPECT_EQ(told, (std::vector<std::string>{"request hi", "response y"}));
}

TEST_F(MessageTapTest, TellsWhatWasReadOfABrokenAnswerWhenTheConnectionCloses) {
  std::vector<PassingMessage> told;
  tap_.onMessage([&](const PassingMessage& message) { told.push_back(message); });
  peerAnswers([](const Bytes&) { return Bytes{0, 0, 0, 9, 'y'}; });
  const int descriptor = connected();
  exchange(descriptor, Frame, 5);
  EXPECT_EQ(told.size(), 1U);
  tap_.close(descriptor);
  ASSERT_EQ(told.size(), 2U);
  EXPECT_FALSE(told[1].isWhole);
  EXPECT_EQ(told[1].bytes.size(), 5U);
}

TEST_F(MessageTapTest, HearsNothingWhenTheConnectionFails) {
  sockets_.peer.connectErrno = ECONNREFUSED;
  const int descriptor = tap_.socket();
  errno = 0;
  EXPECT_NE(tap_.connect(descriptor, "/socket"), 0);
  EXPECT_EQ(errno, ECONNREFUSED);
  EXPECT_TRUE(tap_.frames().empty());
  EXPECT_EQ(tap_.failedConnections(), 1U);
}

TEST_F(MessageTapTest, PassesPeersFailuresAndErrnoOn) {
  sockets_.peer.peerIdentifiersErrno = ENOTCONN;
  sockets_.peer.takes = 0;
  sockets_.peer.sendErrno = EPIPE;
  const int descriptor = connected();
  std::int64_t user = 0;
  std::int64_t group = 0;
  EXPECT_NE(tap_.getpeereid(descriptor, user, group), 0);
  EXPECT_EQ(errno, ENOTCONN);
  errno = 0;
  EXPECT_LT(tap_.send(descriptor, Frame), 0);
  EXPECT_EQ(errno, EPIPE);
  EXPECT_TRUE(tap_.frames().empty());
  EXPECT_EQ(tap_.getuid(), sockets_.userIdentifier);
}

}  // namespace
}  // namespace korvan::lab
