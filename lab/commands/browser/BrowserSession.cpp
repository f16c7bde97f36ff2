#include "lab/commands/browser/BrowserSession.h"

#include <fstream>
#include <string>

#include <glib-unix.h>
#include <glib.h>
#include <sys/wait.h>

#include "lab/browser/BrowserProcess.h"
#include "lab/browser/BrowserProfile.h"
#include "lab/browser/Stories.h"
#include "lab/browser/StoryLine.h"
#include "lab/support/ExitStatus.h"
#include "lab/support/VisibleText.h"

namespace korvan::lab {
namespace {

/// The browser, and what is heard of it while it runs. Main thread.
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

  int run(const BrowserStart& start) {
    const BrowserProcess browser(profile_, start, [this](int status) {
      status_ = status;
      g_main_loop_quit(loop_);
    });
    g_main_loop_run(loop_);
    tellStories();
    return WIFEXITED(status_) && WEXITSTATUS(status_) == 0 ? Well : failed();
  }

 private:
  static gboolean storyCame(gint /*descriptor*/, GIOCondition /*condition*/, gpointer session) {
    static_cast<BrowserSession*>(session)->tellStories();
    return G_SOURCE_CONTINUE;
  }

  void tellStories() {
    while (const auto story = stories_.next()) {
      narrator_.say(storyLine(*story));
    }
  }

  int failed() {
    narrator_.verdict(false, "The browser failed. It wrote:");
    std::ifstream log(profile_.browserLog());
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
  int status_ = 0;
};

}  // namespace

std::filesystem::path labProgram() { return std::filesystem::read_symlink("/proc/self/exe"); }

int showInBrowser(Narrator& narrator, const std::filesystem::path& directory,
                  const LabSettings& settings, const BrowserShow& show) {
  const BrowserProfile profile(directory);
  profile.write(settings, labProgram());
  profile.writeStartPage(show.site);
  const BrowserStart start{
      .program = show.program, .headless = show.headless, .noSandbox = needsNoSandbox()};
  if (start.noSandbox) {
    narrator.say("Chromium runs without its sandbox, since it has none for root.");
  }
  return BrowserSession(narrator, profile).run(start);
}

}  // namespace korvan::lab
