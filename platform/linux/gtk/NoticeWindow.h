#pragma once

#include <memory>

namespace korvan {

class GtkViews;

/// A window around the controller's view, which assistive technology announces as an alert. Closed
/// with this object. Main thread.
class NoticeWindow {
 public:
  /// Refers to `views`, which outlive it and have at most one window at a time.
  explicit NoticeWindow(GtkViews& views);
  NoticeWindow(const NoticeWindow&) = delete;
  NoticeWindow& operator=(const NoticeWindow&) = delete;
  ~NoticeWindow();

  /// Shows the window, in front of others if the system allows it.
  void present();

  /// Runs the main loop until a button is pressed. Closing the window presses its default button.
  /// Returns at once if that has already happened.
  void waitForAnswer();

 private:
  struct State;
  const std::unique_ptr<State> state_;
};

}  // namespace korvan
