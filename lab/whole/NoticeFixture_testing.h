#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <gtk/gtk.h>

#include "platform/linux/gtk/GtkViews.h"
#include "platform/linux/gtk/NoticeWindow.h"
#include "provider/ControllerFixture_testing.h"

namespace korvan::lab {

/// The controller's notice, in a window on the display of the test program.
class NoticeFixture : public ControllerFixture {
 protected:
  NoticeFixture();

  void TearDown() override;

  static ProviderMessage response(std::string_view description);

  /// Has the controller show its notice.
  void showNotice(std::string_view description = "Korvan could not be opened.");

  /// Presents the window, and waits until it has the size, or its smallest if that is larger.
  void present(int width = 560, int height = 280);

  /// Runs the main loop until the condition holds.
  static void wait(const std::function<bool()>& condition);
  /// Runs the main loop until everything that the user did has arrived.
  static void settle();

  [[nodiscard]] GtkWindow* window() const;
  /// The controller's view.
  [[nodiscard]] GtkWidget* view() const;
  [[nodiscard]] GtkWidget* stack() const;
  [[nodiscard]] GtkWidget* title() const;
  [[nodiscard]] GtkWidget* message() const;
  [[nodiscard]] GtkWidget* button() const;

  /// Where the widget is in the controller's view.
  [[nodiscard]] graphene_rect_t bounds(GtkWidget* widget) const;

  [[nodiscard]] std::size_t cancellations() const {
    return platform->extensionContext.endings.size();
  }

  GtkViews views;
  std::unique_ptr<NoticeWindow> noticeWindow = std::make_unique<NoticeWindow>(views);

 private:
  Services services_;
};

}  // namespace korvan::lab
