#include "platform/linux/gtk/GtkViews.h"

#include <cmath>
#include <string>

#include "lab/whole/NoticeFixture_testing.h"
#include "platform/linux/gtk/GtkView.h"

namespace korvan::lab {
namespace {

constexpr float Margin = 40;
constexpr float MaximumMessageWidth = 420;
constexpr float Spacing = 14;
constexpr int Narrow = 300;
constexpr int Normal = 560;
constexpr int Wide = 1200;

const std::string LongMessage =
    "Open Korvan, wait until the window with all the passkeys of this account can be seen, then go "
    "back to where the passkey was asked for, and try the Passkey request again from there.";

float right(const graphene_rect_t& place) { return place.origin.x + place.size.width; }
float bottom(const graphene_rect_t& place) { return place.origin.y + place.size.height; }

class GtkViewsTest : public NoticeFixture {
 protected:
  ~GtkViewsTest() override { preferDarkTheme(false); }

  /// Shows another text in place of the message.
  void say(const std::string& text) {
    platform->localizedStrings.table["Open Korvan, then try the Passkey request again."] = text;
  }

  static void preferDarkTheme(bool prefers) {
    g_object_set(gtk_settings_get_default(), "gtk-application-prefer-dark-theme", prefers, nullptr);
  }

  static int lines(GtkWidget* label) {
    return pango_layout_get_line_count(gtk_label_get_layout(GTK_LABEL(label)));
  }

  [[nodiscard]] float viewWidth() const { return static_cast<float>(gtk_widget_get_width(view())); }
  [[nodiscard]] float viewHeight() const {
    return static_cast<float>(gtk_widget_get_height(view()));
  }

  static double brightness(GtkWidget* widget) {
    GdkRGBA color{};
    gtk_style_context_get_color(gtk_widget_get_style_context(widget), &color);
    return color.red + color.green + color.blue;
  }

  void expectCentered(GtkWidget* widget) const {
    const graphene_rect_t place = bounds(widget);
    EXPECT_LE(std::abs(place.origin.x + right(place) - viewWidth()), 2);
  }

  /// All that holds at every size.
  void expectTheNumbersToHold() const {
    const graphene_rect_t place = bounds(stack());
    EXPECT_LE(std::abs(place.origin.y + bottom(place) - viewHeight()), 2);
    for (GtkWidget* const element : {stack(), title(), message(), button()}) {
      expectCentered(element);
      EXPECT_GE(bounds(element).origin.x, Margin);
      EXPECT_LE(right(bounds(element)), viewWidth() - Margin);
    }
    EXPECT_LE(bounds(message()).size.width, MaximumMessageWidth);
    EXPECT_EQ(bounds(message()).origin.y - bottom(bounds(title())), Spacing);
    EXPECT_EQ(bounds(button()).origin.y - bottom(bounds(message())), Spacing);
    EXPECT_EQ(place.origin.y, bounds(title()).origin.y);
    EXPECT_EQ(bottom(place), bottom(bounds(button())));
  }
};

TEST_F(GtkViewsTest, KeepTheirNumbersInANarrowWindow) {
  showNotice();
  present(Narrow);
  expectTheNumbersToHold();
  EXPECT_EQ(lines(title()), 1);
  EXPECT_EQ(lines(message()), 2);
  // As narrow as the title lets it become.
  EXPECT_EQ(bounds(title()).origin.x, Margin);
}

TEST_F(GtkViewsTest, KeepTheirNumbersInANormalWindow) {
  showNotice();
  present(Normal);
  expectTheNumbersToHold();
  EXPECT_EQ(gtk_widget_get_width(view()), Normal);
  EXPECT_EQ(lines(message()), 1);
}

TEST_F(GtkViewsTest, KeepTheirNumbersWhenAWindowChangesItsSize) {
  showNotice();
  for (const int width : {Wide, Normal, Narrow, Normal}) {
    present(width);
    expectTheNumbersToHold();
  }
}

TEST_F(GtkViewsTest, WrapALongMessageAtTheMaximumWidth) {
  say(LongMessage);
  showNotice();
  for (const int width : {Narrow, Normal, Wide}) {
    present(width);
    expectTheNumbersToHold();
    EXPECT_GE(lines(message()), 3) << width;
  }
  // It uses the room that it may: the next word would not have fitted.
  EXPECT_GT(bounds(message()).size.width, MaximumMessageWidth - 100);
}

TEST_F(GtkViewsTest, BreakAWordThatIsTooLongForALine) {
  say(std::string(200, 'W'));
  showNotice();
  present(Wide);
  expectTheNumbersToHold();
  EXPECT_GT(lines(message()), 1);
}

TEST_F(GtkViewsTest, LetAnExplicitLineBreakBe) {
  say("one\ntwo");
  showNotice();
  present(Normal);
  expectTheNumbersToHold();
  EXPECT_EQ(lines(message()), 2);
}

TEST_F(GtkViewsTest, TheTitleIsSemiboldOf17Pixels) {
  showNotice();
  present();
  const PangoFontDescription* const font =
      pango_layout_get_font_description(gtk_label_get_layout(GTK_LABEL(title())));
  EXPECT_EQ(font, nullptr);
  PangoAttrIterator* const attributes = pango_attr_list_get_iterator(
      pango_layout_get_attributes(gtk_label_get_layout(GTK_LABEL(title()))));
  PangoFontDescription* const shown = pango_font_description_new();
  pango_attr_iterator_get_font(attributes, shown, nullptr, nullptr);
  EXPECT_TRUE(pango_font_description_get_size_is_absolute(shown));
  EXPECT_EQ(pango_font_description_get_size(shown), 17 * PANGO_SCALE);
  EXPECT_EQ(pango_font_description_get_weight(shown), PANGO_WEIGHT_SEMIBOLD);
  pango_font_description_free(shown);
  pango_attr_iterator_destroy(attributes);
}

TEST_F(GtkViewsTest, TheMessageHasTheUsersFont) {
  showNotice();
  EXPECT_EQ(gtk_label_get_attributes(GTK_LABEL(message())), nullptr);
}

TEST_F(GtkViewsTest, TextIsCentered) {
  showNotice();
  for (GtkWidget* const each : {title(), message()}) {
    EXPECT_EQ(gtk_label_get_justify(GTK_LABEL(each)), GTK_JUSTIFY_CENTER);
    EXPECT_EQ(gtk_label_get_xalign(GTK_LABEL(each)), 0.5F);
  }
}

TEST_F(GtkViewsTest, FollowLightAndDarkThemes) {
  showNotice();
  present();
  for (GtkWidget* const each : {title(), message()}) {
    preferDarkTheme(false);
    const double onLight = brightness(each);
    preferDarkTheme(true);
    EXPECT_GT(brightness(each), onLight + 1.0);
  }
}

TEST_F(GtkViewsTest, KeepNothingOfWhatIsRemoved) {
  showNotice();
  gpointer kept = stack();
  g_object_add_weak_pointer(G_OBJECT(stack()), &kept);
  views.view()->subviews().front()->removeFromSuperview();
  EXPECT_EQ(kept, nullptr);
  EXPECT_TRUE(views.view()->subviews().empty());
}

TEST_F(GtkViewsTest, AViewMovesToTheSuperviewThatTakesItLast) {
  const auto label = views.labelWithString("text");
  const auto stack = views.stackViewWithViews({label});
  views.view()->addSubview(label);
  EXPECT_TRUE(stack->subviews().empty());
  EXPECT_EQ(views.view()->subviews().front(), label);
}

TEST_F(GtkViewsTest, ARemovedViewIsNoLongerConstrained) {
  showNotice();
  const auto removed = views.view()->subviews().front();
  removed->removeFromSuperview();
  GtkWidget* const widget = std::dynamic_pointer_cast<GtkView>(removed)->widget();
  EXPECT_EQ(gtk_widget_get_halign(widget), GTK_ALIGN_FILL);
  EXPECT_EQ(gtk_widget_get_valign(widget), GTK_ALIGN_FILL);
  EXPECT_EQ(gtk_widget_get_margin_start(widget), 0);
  EXPECT_EQ(gtk_widget_get_margin_end(widget), 0);
}

}  // namespace
}  // namespace korvan::lab
