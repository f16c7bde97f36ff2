#include "lab/browser/SiteProcess.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>

#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/processes/Program_testing.h"
#include "lab/support/FileContents.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class SiteProcessTest : public testing::Test {
 protected:
  // As the lab's programs do, which outlive their readers.
  void SetUp() override {
    former_ = std::signal(SIGPIPE, [](int /*signal*/) {});
  }
  void TearDown() override { std::ignore = std::signal(SIGPIPE, former_); }

  /// A program in place of the site.
  [[nodiscard]] std::filesystem::path script(const std::string& lines) const {
    const std::filesystem::path file = directory_.path() / "site";
    std::ofstream(file) << "#!/bin/sh\n" << lines << '\n';
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    return file;
  }

  [[nodiscard]] std::string told() const { return directory_.path() / "told"; }

  const TemporaryDirectory directory_;

 private:
  void (*former_)(int) = SIG_DFL;
};

TEST_F(SiteProcessTest, IsToldStoriesALineEach) {
  {
    const SiteProcess site(script(R"(echo '{"url":"http://x/"}'; cat >)" + told()),
                           [](bool /*well*/) {});
    EXPECT_EQ(site.url(), "http://x/");
    site.tell({{"id", 1}});
    site.tell({{"reason", "\xFF\n"}});
  }
  EXPECT_EQ(contentsOf(told()), "{\"id\":1}\n{\"reason\":\"\uFFFD\\n\"}\n");
}

TEST_F(SiteProcessTest, SaysHowThePagesThatRanByThemselvesEnded) {
  std::string ends;
  const SiteProcess site(script(R"(printf '{"url":"u"}\n{"well":true}\n{"well":false}\n'; cat)"),
                         [&ends](bool well) { ends += well ? "well " : "badly "; });
  while (ends != "well badly ") {
    g_main_context_iteration(nullptr, TRUE);
  }
}

TEST_F(SiteProcessTest, IsMissedByNobodyWhenItEnds) {
  const SiteProcess site(script(R"(echo '{"url":"u"}')"), [](bool /*well*/) { FAIL(); });
  // The end of the output.
  g_main_context_iteration(nullptr, TRUE);
  EXPECT_FALSE(g_main_context_pending(nullptr));
  site.tell({{"id", 1}});
}

TEST_F(SiteProcessTest, SaysThatItDoesNotServe) {
  const auto start = [](const std::filesystem::path& program) {
    const SiteProcess site(program, [](bool /*well*/) {});
  };
  EXPECT_THAT([&] { start(directory_.path() / "missing"); },
              testing::ThrowsMessage<std::runtime_error>(HasSubstr("does not start")));
  EXPECT_THAT([&] { start(script("exit 1")); },
              testing::ThrowsMessage<std::runtime_error>(HasSubstr("does not serve")));
}

TEST_F(SiteProcessTest, OfTheLabServesUntilItsInputEnds) {
  Program site({KORVAN_BROWSER_SITE});
  EXPECT_THAT(nlohmann::json::parse(site.readLine()).at("url"), StartsWith("http://localhost:"));
  site.write("{\"id\":1}\nnothing\n");
  const auto result = site.finish();
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "");
}

}  // namespace
}  // namespace korvan::lab
