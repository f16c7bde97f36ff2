#pragma once

#include <cstdint>
#include <memory>

#include "platform/Views.h"

namespace korvan::lab {

/// What happens to the notice.
enum class NoticeMode : std::uint8_t {
  /// OK is pressed as soon as it is up.
  pressOk,
  /// It stays up, and the call ends with that.
  leave,
  /// It is written to standard error, and a line on standard input answers it.
  terminal,
  /// It is written to the process's controlling terminal, and answered there.
  controllingTerminal,
  /// It is shown in a window.
  window,
  /// The same, but nothing of windows is loaded before there is a notice. If it cannot be shown
  /// then, OK is pressed.
  windowWhenNeeded,
};

/// How to show the notice to the person who runs the program: in a window if there is a display,
/// otherwise on the terminal. If standard input is not a terminal, nobody is there, and OK is
/// pressed. Main thread. Throws std::runtime_error when the module of the notice's window cannot be
/// loaded.
[[nodiscard]] NoticeMode noticeForPeople();

/// Shows one controller's view, and plays the user in front of it. Main thread.
class Screen {
 public:
  virtual ~Screen() = default;

  [[nodiscard]] virtual Views& views() = 0;

  [[nodiscard]] virtual bool noticeIsUp() const = 0;

  /// Lets the user answer the notice that is up. Returns when OK was pressed, or at once if nobody
  /// will press it. May run the main loop, so the controller must not be on the stack.
  virtual void letUserAnswer() = 0;
};

/// Throws std::runtime_error when there is no display for a window, its module cannot be loaded, or
/// there is no controlling terminal.
[[nodiscard]] std::unique_ptr<Screen> makeScreen(NoticeMode mode);

}  // namespace korvan::lab
