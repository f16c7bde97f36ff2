#include "lab/browser/Stories.h"

#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "lab/browser/StoryLine.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab {
namespace {

using nlohmann::json;

class StoriesTest : public testing::Test {
 protected:
  TemporaryDirectory directory_;
  const std::filesystem::path socket_ = directory_.path() / "stories.sock";
};

TEST_F(StoriesTest, AreHeardInOrder) {
  const StoryListener listener(socket_);
  EXPECT_EQ(listener.next(), std::nullopt);
  EXPECT_TRUE(tellStory(socket_, {{"id", 1}}));
  EXPECT_TRUE(tellStory(socket_, {{"id", 2}}));
  EXPECT_EQ(listener.next(), (json{{"id", 1}}));
  EXPECT_EQ(listener.next(), (json{{"id", 2}}));
  EXPECT_EQ(listener.next(), std::nullopt);
}

TEST_F(StoriesTest, AreForNobodyWithoutAListener) {
  EXPECT_FALSE(tellStory(socket_, json::object()));
  {
    const StoryListener listener(socket_);
  }
  EXPECT_FALSE(tellStory(socket_, json::object()));
}

TEST_F(StoriesTest, LoseTheRequestWhenTheyAreTooLong) {
  const StoryListener listener(socket_);
  EXPECT_TRUE(tellStory(socket_, {{"id", 1}, {"request", std::string(8'000'000, 'x')}}));
  EXPECT_EQ(listener.next(), (json{{"id", 1}, {"request", nullptr}}));
}

TEST_F(StoriesTest, AreJsonWhateverTheHostSent) {
  const StoryListener listener(socket_);
  EXPECT_TRUE(tellStory(socket_, {{"reason", "\xFF"}}));
  EXPECT_EQ(listener.next(), (json{{"reason", "\uFFFD"}}));
}

TEST_F(StoriesTest, AreFoundAfterOtherMessages) {
  const StoryListener listener(socket_);
  EXPECT_TRUE(tellStory(socket_, json("words")));
  EXPECT_TRUE(tellStory(socket_, {{"id", 1}}));
  EXPECT_EQ(listener.next(), (json{{"id", 1}}));
}

TEST_F(StoriesTest, NeedASocketWhoseNameIsNotTooLong) {
  EXPECT_THROW(StoryListener(directory_.path() / std::string(200, 'x')), std::system_error);
  EXPECT_THROW(StoryListener(directory_.path() / "missing" / "x"), std::system_error);
}

TEST(StoryLine, NamesThePageTheEntryPointsAndTheOutcome) {
  EXPECT_EQ(storyLine({{"origin", "https://example.com"},
                       {"kind", "create"},
                       {"entryPoints", {"prepareInterfaceForPasskeyRegistration:"}},
                       {"outcome", "credential"},
                       {"milliseconds", 12.345}}),
            "https://example.com create: prepareInterfaceForPasskeyRegistration: → credential, "
            "12.3 ms");
  EXPECT_EQ(storyLine({{"origin", ""},
                       {"kind", "configure"},
                       {"entryPoints", json::array()},
                       {"outcome", "canceled"},
                       {"error", {{"name", "NotAllowedError"}, {"message", "x"}}},
                       {"reason", "nobody\nlistens"},
                       {"milliseconds", 1}}),
            "The browser configure: no entry point → NotAllowedError (nobody\\u{A}listens), "
            "1.0 ms");
}

TEST(StoryLine, JoinsEntryPointsInTheirOrder) {
  EXPECT_EQ(storyLine({{"origin", "https://example.com"},
                       {"kind", "get"},
                       {"entryPoints", {"silent:", "interactive:"}},
                       {"outcome", "credential"},
                       {"milliseconds", 0}}),
            "https://example.com get: silent:, then interactive: → credential, 0.0 ms");
}

}  // namespace
}  // namespace korvan::lab
