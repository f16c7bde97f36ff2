#pragma once

#include <cstdint>
#include <memory>

#include "platform/Views.h"

namespace korvan::lab {

/// What becomes of the notice.
enum class NoticeMode : std::uint8_t {
  /// Its button is pressed as soon as it is up.
  pressOk,
  /// It stays up, and the call ends with it.
  leave,
  /// It is written to standard error, and answered by a line on standard input.
  terminal,
  /// It is written to the process's controlling terminal, and answered there.
  controllingTerminal,
  /// It is shown in a window.
  window,
};

/// How to show the notice to the person who runs the program: in a window where there is a display,
/// otherwise on the terminal. Without a person, that is when standard input is no terminal, OK is
/// pressed. Main thread. Throws std::runtime_error when the module of the notice's window cannot be
/// loaded.
[[nodiscard]] NoticeMode noticeForPeople();

/// Where one controller's view is, and who sits before it. Main thread.
class Screen {
 public:
  virtual ~Screen() = default;

  [[nodiscard]] virtual Views& views() = 0;

  [[nodiscard]] virtual bool noticeIsUp() const = 0;

  /// Lets the user answer the notice that is up, and returns once the button was pressed, or at
  /// once when nobody is going to. May run the main loop. Called by what runs it, never inside a
  /// call of the controller.
  virtual void letUserAnswer() = 0;
};

/// Throws std::runtime_error when there is no display for a window, its module cannot be loaded, or
/// there is no controlling terminal.
[[nodiscard]] std::unique_ptr<Screen> makeScreen(NoticeMode mode);

}  // namespace korvan::lab
