#include "platform/linux/gtk/NoticeWindow.h"

#include <string>
#include <vector>

#include "platform/linux/gtk/GtkView.h"
#include "platform/linux/gtk/GtkViews.h"

namespace korvan {
namespace {

constexpr const char* Title = "Korvan";
constexpr int DefaultWidth = 560;
constexpr int DefaultHeight = 280;

GtkWindow* makeWindow() {
  auto* const window = GTK_WINDOW(
      g_object_new(GTK_TYPE_WINDOW, "accessible-role", GTK_ACCESSIBLE_ROLE_ALERT_DIALOG, nullptr));
  gtk_window_set_title(window, Title);
  gtk_window_set_default_size(window, DefaultWidth, DefaultHeight);
  return window;
}

/// The texts below the widget, from top to bottom.
void collectTexts(GtkWidget* widget, std::vector<std::string>& texts) {
  if (GTK_IS_LABEL(widget)) {
    texts.emplace_back(gtk_label_get_text(GTK_LABEL(widget)));
  }
  if (GTK_IS_BUTTON(widget)) {
    return;
  }
  for (GtkWidget* child = gtk_widget_get_first_child(widget); child != nullptr;
       child = gtk_widget_get_next_sibling(child)) {
    collectTexts(child, texts);
  }
}

/// Has a screen reader say what the window is about, without being asked to look around in it.
void describe(GtkWindow* window) {
  std::vector<std::string> texts;
  collectTexts(gtk_window_get_child(window), texts);
  if (texts.empty()) {
    return;
  }
  std::string description;
  for (std::size_t index = 1; index < texts.size(); ++index) {
    description += (index == 1 ? "" : "\n") + texts[index];
  }
  gtk_accessible_update_property(GTK_ACCESSIBLE(window), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                 texts.front().c_str(), GTK_ACCESSIBLE_PROPERTY_DESCRIPTION,
                                 description.c_str(), -1);
}

gboolean answerByClosing(GtkWindow* window, gpointer isClosed) noexcept {
  if (GtkWidget* const button = gtk_window_get_default_widget(window)) {
    g_signal_emit_by_name(button, "clicked");
  }
  *static_cast<bool*>(isClosed) = true;
  // The window goes with its owner.
  return TRUE;
}

}  // namespace

struct NoticeWindow::State {
  GtkViews& views;
  GtkWindow* window = makeWindow();
  const std::size_t pressesBefore = views.presses();
  bool isClosed = false;
};

NoticeWindow::NoticeWindow(GtkViews& views) : state_(new State{.views = views}) {
  gtk_window_set_child(state_->window, std::dynamic_pointer_cast<GtkView>(views.view())->widget());
  g_signal_connect(state_->window, "close-request", G_CALLBACK(answerByClosing), &state_->isClosed);
}

NoticeWindow::~NoticeWindow() {
  GdkDisplay* const display = gtk_widget_get_display(GTK_WIDGET(state_->window));
  gtk_window_set_child(state_->window, nullptr);
  gtk_window_destroy(state_->window);
  // The main loop, which would otherwise tell the display, may not run again for long.
  gdk_display_sync(display);
}

void NoticeWindow::present() {
  describe(state_->window);
  gtk_window_present(state_->window);
}

void NoticeWindow::waitForAnswer() {
  while (!state_->isClosed && state_->views.presses() == state_->pressesBefore) {
    g_main_context_iteration(nullptr, TRUE);
  }
}

}  // namespace korvan
