#include "lab/system/Screen.h"

#include <string_view>
#include <utility>

#include <unistd.h>

#include "lab/system/LabViews.h"
#include "lab/system/Terminal.h"
#include "platform/linux/gtk/GtkViews.h"
#include "platform/linux/gtk/NoticeWindow.h"

namespace korvan::lab {
namespace {

constexpr std::string_view ReturnKey = "\r";

/// Nobody sees it.
class HeadlessScreen final : public Screen {
 public:
  explicit HeadlessScreen(bool pressesReturn) : pressesReturn_(pressesReturn) {}

  [[nodiscard]] Views& views() override { return views_; }

  [[nodiscard]] bool noticeIsUp() const override { return views_.hasButtonFor(ReturnKey); }

  void letUserAnswer() override {
    if (pressesReturn_) {
      views_.press(ReturnKey);
    }
  }

 private:
  LabViews views_;
  const bool pressesReturn_;
};

class TerminalScreen final : public Screen {
 public:
  explicit TerminalScreen(Terminal terminal) : terminal_(std::move(terminal)) {}

  [[nodiscard]] Views& views() override { return views_; }

  [[nodiscard]] bool noticeIsUp() const override { return views_.hasButtonFor(ReturnKey); }

  void letUserAnswer() override {
    terminal_.show(views_.texts());
    terminal_.waitForReturn();
    views_.press(ReturnKey);
  }

 private:
  LabViews views_;
  const Terminal terminal_;
};

class WindowScreen final : public Screen {
 public:
  [[nodiscard]] Views& views() override { return views_; }

  [[nodiscard]] bool noticeIsUp() const override { return !views_.view()->subviews().empty(); }

  void letUserAnswer() override {
    NoticeWindow window(views_);
    window.present();
    window.waitForAnswer();
  }

 private:
  mutable GtkViews views_;
};

}  // namespace

NoticeMode noticeForPeople() {
  if (::isatty(STDIN_FILENO) == 0) {
    return NoticeMode::pressOk;
  }
  return displayIsAvailable() ? NoticeMode::window : NoticeMode::terminal;
}

std::unique_ptr<Screen> makeScreen(NoticeMode mode) {
  switch (mode) {
    case NoticeMode::pressOk:
    case NoticeMode::leave:
      return std::make_unique<HeadlessScreen>(mode == NoticeMode::pressOk);
    case NoticeMode::terminal:
      return std::make_unique<TerminalScreen>(Terminal::standard());
    case NoticeMode::controllingTerminal:
      return std::make_unique<TerminalScreen>(Terminal::controlling());
    case NoticeMode::window:
      return std::make_unique<WindowScreen>();
  }
  return nullptr;
}

}  // namespace korvan::lab
