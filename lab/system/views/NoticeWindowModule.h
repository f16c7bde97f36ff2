#pragma once

#include "lab/system/views/Screen.h"

// What korvan-notice-window.so defines. The lab loads it when a window may be shown, since GTK
// takes longer to load than most calls take. Main thread.
extern "C" {

/// True when there is a display that windows can be opened on.
[[nodiscard]] bool korvanDisplayIsAvailable();

/// A screen of windows, which the caller owns. Throws std::runtime_error when there is no display.
[[nodiscard]] korvan::lab::Screen* korvanMakeWindowScreen();
}
