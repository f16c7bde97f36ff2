#include "lab/host/HostSocket.h"

#include <fstream>
#include <optional>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "lab/host/Client_testing.h"
#include "lab/host/NamesIn_testing.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab::host {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::ThrowsMessage;

class HostSocketTest : public testing::Test {
 protected:
  void expectRefused(const std::filesystem::path& container, const std::string& complaint) const {
    EXPECT_THAT([&] { const HostSocket socket(container); },
                ThrowsMessage<std::runtime_error>(HasSubstr(complaint)));
  }

  [[nodiscard]] mode_t modeOf(const std::filesystem::path& path) const {
    struct stat status{};
    ::lstat(path.c_str(), &status);
    return status.st_mode & 07777U;
  }

  TemporaryDirectory directory_;
  std::filesystem::path file_ = directory_.path() / "acp.sock";
};

TEST_F(HostSocketTest, ListensInTheContainerForThisUserOnly) {
  const HostSocket socket(directory_.path());
  EXPECT_EQ(socket.path(), file_.string());
  EXPECT_EQ(modeOf(file_), 0600U);
  EXPECT_TRUE(Client(socket.path()).connected());
}

TEST_F(HostSocketTest, MakesAMissingContainerForThisUserOnly) {
  const HostSocket socket(directory_.path() / "new");
  EXPECT_EQ(modeOf(directory_.path() / "new"), 0700U);
  EXPECT_TRUE(Client(socket.path()).connected());
}

TEST_F(HostSocketTest, RemovesItsFileAtTheEnd) {
  std::optional<HostSocket> socket(directory_.path());
  socket.reset();
  EXPECT_THAT(namesIn(directory_.path()), IsEmpty());
}

TEST_F(HostSocketTest, LeavesAFileThatIsNotItsOwn) {
  std::optional<HostSocket> socket(directory_.path());
  std::filesystem::rename(file_, directory_.path() / "old");
  std::ofstream(file_) << "another's";
  socket.reset();
  EXPECT_THAT(namesIn(directory_.path()), ElementsAre("acp.sock", "old"));
}

TEST_F(HostSocketTest, TakesThePlaceOfAFileThatNobodyListensOn) {
  {
    const HostSocket old(directory_.path());
    std::filesystem::rename(file_, directory_.path() / "kept");
  }
  std::filesystem::rename(directory_.path() / "kept", file_);
  ASSERT_FALSE(Client(file_).connected());
  const HostSocket socket(directory_.path());
  EXPECT_TRUE(Client(file_).connected());
}

TEST_F(HostSocketTest, GivesWayToAHostThatListens) {
  const HostSocket first(directory_.path());
  expectRefused(directory_.path(), "Another host is listening on " + file_.string());
  EXPECT_TRUE(Client(file_).connected()) << "the first one is undisturbed";
}

TEST_F(HostSocketTest, LeavesAloneWhatIsNotASocket) {
  std::ofstream(file_) << "precious";
  expectRefused(directory_.path(), "not a socket");
  EXPECT_EQ(std::filesystem::file_size(file_), 8U);
}

TEST_F(HostSocketTest, TakesPathsOfUpTo103Bytes) {
  const std::size_t room = HostSocket::MaxPathSize - directory_.path().string().size() -
                           std::string("//acp.sock").size();
  const std::filesystem::path longest = directory_.path() / std::string(room, 'd');
  const std::filesystem::path tooLong = directory_.path() / std::string(room + 1, 'd');
  const HostSocket socket(longest);
  EXPECT_EQ(socket.path().size(), 103U);
  EXPECT_TRUE(Client(socket.path()).connected());
  expectRefused(tooLong, "has 104 bytes; at most 103 are possible");
  EXPECT_FALSE(std::filesystem::exists(tooLong));
}

TEST_F(HostSocketTest, RefusesAContainerThatTheExtensionWouldNotTake) {
  const std::string open = directory_.path() / "open";
  std::filesystem::create_directory(open);
  ::chmod(open.c_str(), 0755);
  expectRefused(open, open + " is open to others; run: chmod 700 " + open);
  const std::string link = directory_.path() / "link";
  std::filesystem::create_directory_symlink(open, link);
  expectRefused(link, link + " is a symbolic link");
  EXPECT_THAT(namesIn(open), IsEmpty());
}

TEST_F(HostSocketTest, NamesAContainerThatCannotBe) {
  expectRefused("/proc/nowhere", "/proc/nowhere");
  std::ofstream(directory_.path() / "file") << "";
  expectRefused(directory_.path() / "file", "file: Not a directory");
}

}  // namespace
}  // namespace korvan::lab::host
