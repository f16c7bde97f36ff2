#include "lab/system/views/Screen.h"

#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <dlfcn.h>
#include <unistd.h>

#include "lab/system/views/LabViews.h"
#include "lab/system/views/LateScreen.h"
#include "lab/system/views/NoticeWindowModule.h"
#include "lab/system/views/Terminal.h"

namespace korvan::lab {
namespace {

constexpr std::string_view ReturnKey = "\r";

/// Not shown to anybody.
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

/// A function of the module beside the program. It is loaded for the first, and stays: GTK cannot
/// be unloaded.
template <typename Function>
Function* inNoticeWindowModule(const char* name) {
  const auto file =
      std::filesystem::read_symlink("/proc/self/exe").replace_filename("korvan-notice-window.so");
  void* const module = ::dlopen(file.c_str(), RTLD_NOW);
  void* const function = module == nullptr ? nullptr : ::dlsym(module, name);
  if (function == nullptr) {
    // The text is this thread's own.
    const char* const why = ::dlerror();  // NOLINT(concurrency-mt-unsafe)
    throw std::runtime_error(std::string("the notice's window cannot be loaded: ") + why);
  }
  return reinterpret_cast<Function*>(function);
}

bool displayIsAvailable() {
  return inNoticeWindowModule<decltype(korvanDisplayIsAvailable)>("korvanDisplayIsAvailable")();
}

std::unique_ptr<Screen> makeWindowScreen() {
  return std::unique_ptr<Screen>(
      inNoticeWindowModule<decltype(korvanMakeWindowScreen)>("korvanMakeWindowScreen")());
}

/// Called inside the main loop, where nothing can be thrown.
std::unique_ptr<Screen> makeScreenForNotice() noexcept {
  try {
    return makeWindowScreen();
  } catch (const std::exception& error) {
    std::cerr << "korvan-lab: " << error.what() << '\n';
    return std::make_unique<HeadlessScreen>(true);
  }
}

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
      return makeWindowScreen();
    case NoticeMode::windowWhenNeeded:
      return std::make_unique<LateScreen>(makeScreenForNotice);
  }
  return nullptr;
}

}  // namespace korvan::lab
