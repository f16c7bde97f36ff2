#include "lab/commands/browser/BrowserSession.h"

#include <cstring>
#include <fstream>
#include <optional>
#include <string>

#include <glib-unix.h>
#include <glib.h>
#include <sys/wait.h>

#include "lab/browser/BrowserProcess.h"
#include "lab/browser/BrowserProfile.h"
#include "lab/browser/SiteProcess.h"
#include "lab/browser/Stories.h"
#include "lab/browser/StoryLine.h"
#include "lab/processes/Stage.h"
#include "lab/support/ExitStatus.h"
#include "lab/support/VisibleText.h"

namespace korvan::lab {
namespace {

/// Such as "exit status 1" or "SIGSEGV". `status` is what waiting for the process gives.
std::string endingOf(int status) {
  if (WIFEXITED(status)) {
    return "exit status " + std::to_string(WEXITSTATUS(status));
  }
  const char* const name = ::sigabbrev_np(WTERMSIG(status));
  return name != nullptr ? "SIG" + std::string(name) : "signal " + std::to_string(WTERMSIG(status));
}

/// The browser, the site, and what is heard of them. Main thread.
class BrowserSession {
 public:
  BrowserSession(Narrator& narrator, const BrowserProfile& profile)
      : narrator_(narrator),
        profile_(profile),
        stories_(profile.storySocket()),
        loop_(g_main_loop_new(nullptr, FALSE)),
        storyWatch_(g_unix_fd_add(stories_.descriptor(), G_IO_IN, storyCame, this)) {}
  BrowserSession(const BrowserSession&) = delete;
  BrowserSession& operator=(const BrowserSession&) = delete;
  ~BrowserSession() {
    g_source_remove(storyWatch_);
    g_main_loop_unref(loop_);
  }

  /// Serves the lab's own site from now on, and returns its URL.
  std::string serveSite() {
    site_.emplace(builtProgram("korvan-browser-site", "browser/site"), [this](bool well) {
      tellStories();
      end(narrator_.verdict(well, "The page has run by itself") ? Well : NotVerified);
    });
    return site_->url();
  }

  int run(const BrowserStart& start) {
    const bool pageRunsByItself = start.headless && site_;
    const BrowserProcess browser(profile_, start, [this, pageRunsByItself](int status) {
      tellStories();
      end(status == 0 && !pageRunsByItself ? Well : browserFailed(status));
    });
    g_main_loop_run(loop_);
    return status_;
  }

 private:
  static gboolean storyCame(gint /*descriptor*/, GIOCondition /*condition*/, gpointer session) {
    static_cast<BrowserSession*>(session)->tellStories();
    return G_SOURCE_CONTINUE;
  }

  void tellStories() {
    while (const auto story = stories_.next()) {
      narrator_.say(storyLine(*story));
      if (site_) {
        site_->tell(*story);
      }
    }
  }

  void end(int status) {
    status_ = status;
    g_main_loop_quit(loop_);
  }

  int browserFailed(int status) {
    std::ifstream log(profile_.browserLog());
    const bool silent = log.peek() == std::ifstream::traits_type::eof();
    narrator_.verdict(false, "Chromium ended with " + endingOf(status) +
                                 (silent ? " and wrote nothing." : ". It wrote:"));
    for (std::string line; std::getline(log, line);) {
      narrator_.say("  " + visibleText(line));
    }
    return NotVerified;
  }

  Narrator& narrator_;
  const BrowserProfile& profile_;
  const StoryListener stories_;
  GMainLoop* const loop_;
  const unsigned storyWatch_;
  std::optional<SiteProcess> site_;
  int status_ = Well;
};

std::string pageFor(BrowserSession& session, Narrator& narrator, const BrowserShow& show) {
  if (!show.site.empty()) {
    return show.site;
  }
  const std::string site = session.serveSite();
  narrator.say("The lab's own site is at " + site);
  return show.headless ? site + "?run" : site;
}

}  // namespace

std::filesystem::path labProgram() { return std::filesystem::read_symlink("/proc/self/exe"); }

int showInBrowser(Narrator& narrator, const std::filesystem::path& directory,
                  const LabSettings& settings, const BrowserShow& show) {
  const BrowserProfile profile(directory);
  profile.write(settings, labProgram());
  if (needsNoSandbox()) {
    narrator.say("Chromium runs without its sandbox, since it has none for root.");
  }
  BrowserSession session(narrator, profile);
  profile.writeStartPage(pageFor(session, narrator, show));
  return session.run(
      {.program = show.program, .headless = show.headless, .noSandbox = needsNoSandbox()});
}

}  // namespace korvan::lab
