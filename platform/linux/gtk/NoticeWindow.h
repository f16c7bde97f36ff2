#pragma once

#include <memory>

namespace korvan {

class GtkViews;

/// A window around the controller's view, an alert to whoever cannot see it. It is closed when this
/// goes. Main thread.
class NoticeWindow {
 public:
  /// Refers to `views`, which outlive it, and have at most one window at a time.
  explicit NoticeWindow(GtkViews& views);
  NoticeWindow(const NoticeWindow&) = delete;
  NoticeWindow& operator=(const NoticeWindow&) = delete;
  ~NoticeWindow();

  /// Shows the window, before others where the system allows it.
  void present();

  /// Runs the main loop until a button was pressed or the user has closed the window, which presses
  /// its default button. Returns at once when that has already happened.
  void waitForAnswer();

 private:
  struct State;
  const std::unique_ptr<State> state_;
};

}  // namespace korvan
