// korvan-browser-site: serves the lab's own web site until standard input ends. A program of its
// own, since the HTTP library takes longer to load than most of the lab's commands take.
//
// Prints a JSON object a line: {"url"} first, and {"well"} whenever a page that ran by itself has
// ended. Reads a story a line, as JSON, and shows it on every open page.

#include <iostream>
#include <string>

#include <gio/gunixinputstream.h>
#include <glib.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "lab/browser/site/Site.h"
#include "lab/support/ExitStatus.h"
#include "lab/support/ProgramMain.h"

namespace {

using korvan::lab::Site;

void print(const nlohmann::json& line) { std::cout << line.dump() << '\n' << std::flush; }

/// Reads stories, and ends the loop with the input. Main thread.
class StoryReader {
 public:
  /// Refers to both, which outlive it.
  StoryReader(Site& site, GMainLoop* loop)
      : site_(site),
        loop_(loop),
        input_(g_unix_input_stream_new(STDIN_FILENO, FALSE)),
        lines_(g_data_input_stream_new(input_)) {}
  StoryReader(const StoryReader&) = delete;
  StoryReader& operator=(const StoryReader&) = delete;
  ~StoryReader() {
    g_object_unref(lines_);
    g_object_unref(input_);
  }

  void readNext() {
    g_data_input_stream_read_line_async(lines_, G_PRIORITY_DEFAULT, nullptr, lineCame, this);
  }

 private:
  static void lineCame(GObject* /*source*/, GAsyncResult* result, gpointer reader) {
    auto& self = *static_cast<StoryReader*>(reader);
    gsize size = 0;
    char* const line = g_data_input_stream_read_line_finish(self.lines_, result, &size, nullptr);
    if (line == nullptr) {
      g_main_loop_quit(self.loop_);
      return;
    }
    const auto story = nlohmann::json::parse(line, line + size, nullptr, false);
    g_free(line);
    if (!story.is_discarded()) {
      self.site_.tell(story);
    }
    self.readNext();
  }

  Site& site_;
  GMainLoop* const loop_;
  GInputStream* const input_;
  GDataInputStream* const lines_;
};

int serve() {
  Site site;
  site.onFinished = [](bool well) { print({{"well", well}}); };
  GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
  StoryReader stories(site, loop);
  stories.readNext();
  print({{"url", site.url()}});
  g_main_loop_run(loop);
  g_main_loop_unref(loop);
  return korvan::lab::Well;
}

}  // namespace

int main() { return korvan::lab::runProgram("korvan-browser-site", serve); }
