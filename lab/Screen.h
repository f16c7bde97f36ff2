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
};

/// Where one controller's view is, and who sits before it. Main thread.
class Screen {
 public:
  virtual ~Screen() = default;

  [[nodiscard]] virtual Views& views() = 0;

  [[nodiscard]] virtual bool noticeIsUp() const = 0;

  /// Lets the user answer the notice that is up, and returns once the button was pressed, or at
  /// once when nobody is going to. Called from the main loop, never inside a call of the
  /// controller.
  virtual void letUserAnswer() = 0;
};

[[nodiscard]] std::unique_ptr<Screen> makeScreen(NoticeMode mode);

}  // namespace korvan::lab
