#include "lab/system/views/NoticeWindowModule.h"

#include <memory>

#include "platform/linux/gtk/GtkViews.h"
#include "platform/linux/gtk/NoticeWindow.h"

namespace {

class WindowScreen final : public korvan::lab::Screen {
 public:
  [[nodiscard]] korvan::Views& views() override { return views_; }

  [[nodiscard]] bool noticeIsUp() const override { return !views_.view()->subviews().empty(); }

  void letUserAnswer() override {
    korvan::NoticeWindow window(views_);
    window.present();
    window.waitForAnswer();
  }

 private:
  mutable korvan::GtkViews views_;
};

}  // namespace

bool korvanDisplayIsAvailable() { return korvan::displayIsAvailable(); }

korvan::lab::Screen* korvanMakeWindowScreen() { return std::make_unique<WindowScreen>().release(); }
