#include "platform/linux/gtk/NoticeWindow.h"

#include <string>

#include "lab/whole/NoticeFixture_testing.h"
#include "platform/linux/gtk/DisplayServer_testing.h"

// After GoogleTest, which has names that are macros of X11.
#include <gdk/x11/gdkx.h>

namespace korvan::lab {
namespace {

class NoticeWindowTest : public NoticeFixture {
 protected:
  void SetUp() override { showNotice(); }

  void pressReturn() const { DisplayServer::xdotool({"key", "Return"}); }

  void clickOnButton() const {
    const graphene_rect_t place = bounds(button());
    const auto identifier =
        std::to_string(gdk_x11_surface_get_xid(gtk_native_get_surface(GTK_NATIVE(window()))));
    DisplayServer::xdotool(
        {"mousemove", "--window", identifier,
         std::to_string(static_cast<int>(place.origin.x + place.size.width / 2)),
         std::to_string(static_cast<int>(place.origin.y + place.size.height / 2)), "click", "1"});
  }

  /// How often the button that is shown now is clicked.
  void countClicks() {
    g_signal_connect(button(), "clicked", G_CALLBACK(+[](GtkButton*, gpointer clicks) noexcept {
                       ++*static_cast<int*>(clicks);
                     }),
                     &clicks_);
  }

  int clicks_ = 0;
};

TEST_F(NoticeWindowTest, ReturnCancelsOnce) {
  present();
  pressReturn();
  noticeWindow->waitForAnswer();
  expectEnding(cancellation(0, "Korvan could not be opened."));
}

TEST_F(NoticeWindowTest, EnterOnTheKeypadCancelsOnce) {
  present();
  DisplayServer::xdotool({"key", "KP_Enter"});
  noticeWindow->waitForAnswer();
  expectEnding(cancellation(0, "Korvan could not be opened."));
}

TEST_F(NoticeWindowTest, AClickOnTheButtonCancelsOnce) {
  present();
  clickOnButton();
  noticeWindow->waitForAnswer();
  expectEnding(cancellation(0, "Korvan could not be opened."));
}

TEST_F(NoticeWindowTest, ClosingTheWindowCancelsOnce) {
  present();
  gtk_window_close(window());
  noticeWindow->waitForAnswer();
  expectEnding(cancellation(0, "Korvan could not be opened."));
}

TEST_F(NoticeWindowTest, NothingCancelsASecondTime) {
  present();
  countClicks();
  clickOnButton();
  noticeWindow->waitForAnswer();
  clickOnButton();
  wait([&] { return clicks_ == 2; });
  pressReturn();
  wait([&] { return clicks_ == 3; });
  gtk_window_close(window());
  EXPECT_EQ(clicks_, 4);
  EXPECT_EQ(cancellations(), 1U);
}

TEST_F(NoticeWindowTest, OtherKeysDoNothing) {
  present();
  countClicks();
  DisplayServer::xdotool({"key", "a", "Escape", "Tab"});
  settle();
  EXPECT_EQ(clicks_, 0);
  pressReturn();
  wait([&] { return clicks_ == 1; });
  EXPECT_EQ(cancellations(), 1U);
}

TEST_F(NoticeWindowTest, ASecondNoticeReplacesTheFirst) {
  present();
  GtkWidget* const first = stack();
  gpointer firstIsGone = first;
  g_object_add_weak_pointer(G_OBJECT(first), &firstIsGone);
  showNotice("The second one.");
  wait([&] { return firstIsGone == nullptr; });
  EXPECT_NE(stack(), nullptr);
  wait([&] { return gtk_widget_get_mapped(button()) && gtk_widget_get_width(button()) > 0; });
  pressReturn();
  noticeWindow->waitForAnswer();
  expectEnding(cancellation(0, "The second one."));
}

TEST_F(NoticeWindowTest, AButtonThatWasReplacedDoesNothing) {
  present();
  auto* const replaced = GTK_WIDGET(g_object_ref(button()));
  showNotice("The second one.");
  g_signal_emit_by_name(replaced, "clicked");
  g_object_unref(replaced);
  EXPECT_EQ(cancellations(), 0U);
  EXPECT_EQ(views.presses(), 0U);
}

TEST_F(NoticeWindowTest, IsGoneWithItsOwner) {
  present();
  noticeWindow.reset();
  EXPECT_EQ(g_list_model_get_n_items(gtk_window_get_toplevels()), 0U);
  noticeWindow = std::make_unique<NoticeWindow>(views);
  present();
  EXPECT_TRUE(gtk_widget_get_mapped(stack()));
}

TEST_F(NoticeWindowTest, IsAnAlertThatSaysWhatItIsAbout) {
  present();
  auto* const alert = GTK_ACCESSIBLE(window());
  EXPECT_TRUE(gtk_test_accessible_has_role(alert, GTK_ACCESSIBLE_ROLE_ALERT_DIALOG));
  EXPECT_STREQ(gtk_window_get_title(window()), "Korvan");
  EXPECT_EQ(gtk_test_accessible_check_property(alert, GTK_ACCESSIBLE_PROPERTY_LABEL,
                                               "Couldn\u2019t Connect to Korvan"),
            nullptr);
  EXPECT_EQ(gtk_test_accessible_check_property(alert, GTK_ACCESSIBLE_PROPERTY_DESCRIPTION,
                                               "Open Korvan, then try the Passkey request again."),
            nullptr);
}

/// By a text of its own or, as newer versions of GTK have it with a button, by the label in it.
bool isLabeled(GtkAccessible* element, const char* text) {
  if (gtk_test_accessible_has_relation(element, GTK_ACCESSIBLE_RELATION_LABELLED_BY) != FALSE) {
    return std::string(gtk_button_get_label(GTK_BUTTON(element))) == text;
  }
  char* const other =
      gtk_test_accessible_check_property(element, GTK_ACCESSIBLE_PROPERTY_LABEL, text);
  g_free(other);
  return other == nullptr;
}

TEST_F(NoticeWindowTest, HasARoleAndALabelForEachElement) {
  present();
  struct Row {
    GtkWidget* widget;
    GtkAccessibleRole role;
    const char* label;
  };
  for (const Row& row : {Row{title(), GTK_ACCESSIBLE_ROLE_LABEL, "Couldn\u2019t Connect to Korvan"},
                         Row{message(), GTK_ACCESSIBLE_ROLE_LABEL,
                             "Open Korvan, then try the Passkey request again."},
                         Row{button(), GTK_ACCESSIBLE_ROLE_BUTTON, "OK"}}) {
    auto* const element = GTK_ACCESSIBLE(row.widget);
    EXPECT_TRUE(gtk_test_accessible_has_role(element, row.role)) << row.label;
    EXPECT_TRUE(isLabeled(element, row.label)) << row.label;
  }
}

TEST_F(NoticeWindowTest, TheButtonIsTheDefaultAndHasTheFocus) {
  present();
  EXPECT_EQ(gtk_window_get_default_widget(window()), button());
  EXPECT_EQ(gtk_window_get_focus(window()), button());
}

}  // namespace
}  // namespace korvan::lab
