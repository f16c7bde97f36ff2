#include "lab/host/HostServer.h"

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "lab/host/Client_testing.h"
#include "lab/host/HostSocket.h"
#include "lab/support/TemporaryDirectory.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace korvan::lab::host {
namespace {

using testing::HasSubstr;

/// A server on its own thread that repeats each request's type, until the test is over.
class HostServerTest : public testing::Test {
 protected:
  void SetUp() override { start(std::chrono::seconds(30)); }
  void TearDown() override { stop(); }

  void start(std::chrono::milliseconds timeout) {
    server_ = std::make_unique<HostServer>(
        serialization_,
        HostServer::Callbacks{.answer = [](const auto& request) { return reply(request); },
                              .closed = [this](const auto& summary) { note(summary); }},
        timeout);
    thread_ = std::jthread([this] { server_->run(socket_.descriptor(), stop_.get()); });
  }

  void stop() {
    if (thread_.joinable()) {
      ::eventfd_write(stop_.get(), 1);
      thread_.join();
      eventfd_t count = 0;
      ::eventfd_read(stop_.get(), &count);
    }
  }

  [[nodiscard]] Data request(const Text& type) const {
    return serialization_.encodeBinary({{"type", type}}).value();
  }

  [[nodiscard]] PropertyListDictionary receive(Client& client) const {
    const auto frame = client.receiveFrame();
    const auto message = frame ? serialization_.decode(*frame) : PropertyListValue();
    return message && message->dictionary() != nullptr ? *message->dictionary()
                                                       : PropertyListDictionary();
  }

  void expectRefusal(Client& client, const std::string& description) {
    const PropertyListDictionary response = receive(client);
    ASSERT_FALSE(response.empty());
    EXPECT_EQ(valueForKey(response, "ok")->boolean(), std::optional(false));
    EXPECT_EQ(valueForKey(response, "errorCode")->text()->view(), "failed");
    EXPECT_THAT(std::string(valueForKey(response, "errorDescription")->text()->view()),
                HasSubstr(description));
    EXPECT_EQ(nextSummary().ok, std::optional(false));
  }

  ConnectionSummary nextSummary() {
    std::unique_lock lock(mutex_);
    added_.wait(lock, [this] { return !summaries_.empty(); });
    ConnectionSummary summary = summaries_.front();
    summaries_.pop_front();
    return summary;
  }

  /// Has the server wait with its next summary for as long as the result lives.
  [[nodiscard]] std::unique_lock<std::mutex> holdingSummaries() { return std::unique_lock(mutex_); }

  TemporaryDirectory directory_;
  HostSocket socket_{directory_.path()};
  LinuxPropertyListSerialization serialization_;

 private:
  static PropertyListDictionary reply(const PropertyListDictionary& request) {
    const PropertyListValue* type = valueForKey(request, "type");
    return {{"ok", true}, {"echo", type == nullptr ? PropertyListValue("none") : *type}};
  }

  void note(const ConnectionSummary& summary) {
    const std::scoped_lock lock(mutex_);
    summaries_.push_back(summary);
    added_.notify_one();
  }

  std::mutex mutex_;
  std::condition_variable added_;
  std::deque<ConnectionSummary> summaries_;
  Descriptor stop_{::eventfd(0, EFD_CLOEXEC)};
  std::unique_ptr<HostServer> server_;
  std::jthread thread_;
};

TEST_F(HostServerTest, AnswersARequestAndCloses) {
  Client client(socket_.path());
  const Data body = request("greeting");
  client.sendFrame(body);
  EXPECT_EQ(receive(client), (PropertyListDictionary{{"ok", true}, {"echo", "greeting"}}));
  const ConnectionSummary summary = nextSummary();
  EXPECT_EQ(summary.bytesReceived, body.size() + 4);
  EXPECT_EQ(summary.type, "greeting");
  EXPECT_EQ(summary.ok, true);
  EXPECT_EQ(summary.errorCode, std::nullopt);
}

TEST_F(HostServerTest, ClosesAConnectionBeforeItsSummary) {
  Client client(socket_.path());
  const auto lock = holdingSummaries();
  client.sendFrame(request("greeting"));
  EXPECT_FALSE(receive(client).empty());
}

TEST_F(HostServerTest, PutsTogetherWhatComesInPieces) {
  Client client(socket_.path());
  const Data body = request("pieces");
  const std::array prefix{std::uint8_t{0}, std::uint8_t{0}, std::uint8_t{0},
                          static_cast<std::uint8_t>(body.size())};
  for (const auto& byte : prefix) {
    client.send({&byte, 1});
  }
  for (const auto& byte : body.bytes()) {
    client.send({&byte, 1});
  }
  EXPECT_EQ(valueForKey(receive(client), "echo")->text()->view(), "pieces");
}

TEST_F(HostServerTest, ServesOthersWhileAClientStalls) {
  Client stalled(socket_.path());
  ASSERT_TRUE(stalled.send(std::array<std::uint8_t, 5>{0, 0, 0, 9, 'b'}));
  for (int round = 0; round < 3; ++round) {
    Client client(socket_.path());
    client.sendFrame(request("meanwhile"));
    EXPECT_EQ(valueForKey(receive(client), "echo")->text()->view(), "meanwhile");
    EXPECT_EQ(nextSummary().type, "meanwhile");
  }
}

TEST_F(HostServerTest, EndsAStalledClientWhenItStops) {
  Client stalled(socket_.path());
  Client other(socket_.path());
  ASSERT_TRUE(stalled.send(std::array<std::uint8_t, 2>{0, 0}));
  // Clients are accepted in turn: once the second one is served, the first one is being served.
  other.sendFrame(request("other"));
  EXPECT_EQ(nextSummary().type, "other");
  stop();
  EXPECT_TRUE(stalled.receiveAll().empty());
  EXPECT_EQ(nextSummary().ok, std::nullopt);
}

TEST_F(HostServerTest, DropsAClientThatStallsForTooLong) {
  stop();
  start(std::chrono::milliseconds(20));
  Client stalled(socket_.path());
  ASSERT_TRUE(stalled.send(std::array<std::uint8_t, 6>{0, 0, 0, 9, 'b', 'p'}));
  EXPECT_TRUE(stalled.receiveAll().empty());
  const ConnectionSummary summary = nextSummary();
  EXPECT_EQ(summary.bytesReceived, 6U);
  EXPECT_EQ(summary.type, std::nullopt);
  EXPECT_EQ(summary.ok, std::nullopt);
}

TEST_F(HostServerTest, GivesNoAnswerToARequestThatIsCutShort) {
  const Data body = request("short");
  for (const std::size_t size : {0U, 3U, 4U, 10U}) {
    Client client(socket_.path());
    std::vector<std::uint8_t> frame{0, 0, 0, static_cast<std::uint8_t>(body.size())};
    frame.insert(frame.end(), body.bytes().begin(), body.bytes().end());
    client.send(std::span(frame).first(size));
    client.finishSending();
    EXPECT_TRUE(client.receiveAll().empty()) << size;
    const ConnectionSummary summary = nextSummary();
    EXPECT_EQ(summary.bytesReceived, size);
    EXPECT_EQ(summary.ok, std::nullopt);
  }
}

TEST_F(HostServerTest, KeepsNothingOfAClientThatIsGoneAtAnyStage) {
  const auto openDescriptors = [] {
    using std::filesystem::directory_iterator;
    return std::distance(directory_iterator("/proc/self/fd"), directory_iterator());
  };
  stop();
  const auto before = openDescriptors();
  start(std::chrono::seconds(30));
  // The answer repeats it, and does not fit in the socket's buffer.
  const Data body = request(Text(std::string(1'000'000, 'f')));
  for (const std::size_t size : {std::size_t{0}, body.size() / 2, body.size()}) {
    {
      Client client(socket_.path());
      client.send(std::array{std::uint8_t{0}, static_cast<std::uint8_t>(body.size() >> 16U),
                             static_cast<std::uint8_t>(body.size() >> 8U),
                             static_cast<std::uint8_t>(body.size())});
      EXPECT_TRUE(client.send(body.bytes().first(size)));
    }
    EXPECT_EQ(nextSummary().bytesReceived, 4 + size);
  }
  stop();
  EXPECT_EQ(openDescriptors(), before);
}

TEST_F(HostServerTest, RefusesAFrameOfAnImpossibleSize) {
  const std::vector<std::pair<std::array<std::uint8_t, 4>, std::string>> rows{
      {{0, 0, 0, 0}, "announces 0 bytes"},
      {{0, 0x40, 0, 1}, "announces 4194305 bytes"},
      {{0xFF, 0xFF, 0xFF, 0xFF}, "announces 4294967295 bytes"}};
  for (const auto& [prefix, complaint] : rows) {
    Client client(socket_.path());
    client.send(prefix);
    expectRefusal(client, complaint);
  }
}

TEST_F(HostServerTest, TakesTheLargestFrame) {
  const Data largest = [this] {
    std::string filler(HostServer::MaxBodySize - 100, 'f');
    while (request(Text(filler)).size() < HostServer::MaxBodySize) {
      filler += 'f';
    }
    return request(Text(filler));
  }();
  ASSERT_EQ(largest.size(), HostServer::MaxBodySize);
  Client client(socket_.path());
  const std::jthread sender([&] { client.sendFrame(largest); });
  // The reply repeats it and some more, and so is too large itself.
  expectRefusal(client, "cannot be encoded");
}

TEST_F(HostServerTest, RefusesWhatIsNotAPropertyList) {
  Client client(socket_.path());
  client.sendFrame(std::vector<std::uint8_t>{'b', 'p', 'l', 'i', 's', 't', '0', '0'});
  expectRefusal(client, "The request is not a property list: ");
}

TEST_F(HostServerTest, RefusesAPropertyListThatIsNotADictionary) {
  Client client(socket_.path());
  client.sendFrame(std::vector<std::uint8_t>{'<', 'a', 'r', 'r', 'a', 'y', '/', '>'});
  expectRefusal(client, "not a dictionary");
}

TEST_F(HostServerTest, ServesNobodyElsesClients) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "needs the right to become another user";
  }
  ::chmod(directory_.path().c_str(), 0711);
  ::chmod(socket_.path().c_str(), 0666);
  std::vector<std::uint8_t> received{1};
  bool connected = false;
  // The bare system call changes the user of this one thread, which then ends.
  std::thread([&] {
    ::syscall(SYS_setresuid, 65534, 65534, 65534);
    Client client(socket_.path());
    connected = client.connected();
    client.sendFrame(request("theirs"));
    received = client.receiveAll();
  }).join();
  EXPECT_TRUE(connected);
  EXPECT_TRUE(received.empty());
  EXPECT_EQ(nextSummary().bytesReceived, 0U);
}

TEST_F(HostServerTest, ServesMoreClientsThanItHasTurnsFor) {
  std::vector<Client> clients;
  for (std::size_t index = 0; index < HostServer::MaxConnections + 10; ++index) {
    clients.emplace_back(socket_.path());
    ASSERT_TRUE(clients.back().connected());
  }
  for (Client& client : clients) {
    client.sendFrame(request("turn"));
    EXPECT_EQ(valueForKey(receive(client), "echo")->text()->view(), "turn");
  }
}

}  // namespace
}  // namespace korvan::lab::host
