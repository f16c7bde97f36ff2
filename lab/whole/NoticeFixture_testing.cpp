#include "lab/whole/NoticeFixture_testing.h"

#include <algorithm>
#include <vector>

#include "platform/linux/gtk/DisplayServer_testing.h"

namespace korvan::lab {
namespace {

/// One display for all tests of the program.
class DisplayForAll : public testing::Environment {
 public:
  void SetUp() override {
    server_ = std::make_unique<DisplayServer>();
    ASSERT_TRUE(displayIsAvailable());
  }
  void TearDown() override {
    gdk_display_close(gdk_display_get_default());
    server_.reset();
  }

 private:
  std::unique_ptr<DisplayServer> server_;
};

testing::Environment* const displayForAll =
    testing::AddGlobalTestEnvironment(std::make_unique<DisplayForAll>().release());

void collect(GtkWidget* widget, GType type, std::vector<GtkWidget*>& found) {
  if (G_TYPE_CHECK_INSTANCE_TYPE(widget, type)) {
    found.push_back(widget);
    return;
  }
  for (GtkWidget* child = gtk_widget_get_first_child(widget); child != nullptr;
       child = gtk_widget_get_next_sibling(child)) {
    collect(child, type, found);
  }
}

/// The n-th of the type from the top; a button's own label is a part of the button.
GtkWidget* find(GtkWidget* root, GType type, std::size_t index) {
  std::vector<GtkWidget*> buttons;
  collect(root, GTK_TYPE_BUTTON, buttons);
  std::vector<GtkWidget*> found;
  collect(root, type, found);
  if (type == GTK_TYPE_LABEL) {
    std::erase_if(found, [&](GtkWidget* widget) {
      return std::ranges::any_of(
          buttons, [&](GtkWidget* each) { return gtk_widget_is_ancestor(widget, each) != FALSE; });
    });
  }
  return found.at(index);
}

int smallest(GtkWindow* window, GtkOrientation orientation, int forSize) {
  int minimum = 0;
  gtk_widget_measure(GTK_WIDGET(window), orientation, forSize, &minimum, nullptr, nullptr, nullptr);
  return minimum;
}

}  // namespace

NoticeFixture::NoticeFixture()
    : services_{.appGroupContainers = platform->appGroupContainers,
                .clock = platform->clock,
                .codeSigning = platform->codeSigning,
                .extensionContext = platform->extensionContext,
                .localSockets = platform->localSockets,
                .localizedStrings = platform->localizedStrings,
                .operatingSystem = platform->operatingSystem,
                .propertyLists = platform->propertyLists,
                .queues = platform->queues,
                .views = views,
                .workspace = platform->workspace} {
  controller = std::make_shared<CredentialProviderViewController>(
      std::shared_ptr<const Services>(platform, &services_));
}

void NoticeFixture::TearDown() {
  controller.reset();
  ControllerFixture::TearDown();
}

ProviderMessage NoticeFixture::response(std::string_view description) {
  ProviderMessage made = failureResponse("unavailable", description);
  made.insert_or_assign("showUnavailableUI", true);
  return made;
}

void NoticeFixture::showNotice(std::string_view description) {
  controller->showUnavailableUIForResponse(response(description));
}

void NoticeFixture::present(int width, int height) {
  gtk_window_set_default_size(window(), width, height);
  noticeWindow->present();
  const int expectedWidth = std::max(width, smallest(window(), GTK_ORIENTATION_HORIZONTAL, -1));
  const int expectedHeight =
      std::max(height, smallest(window(), GTK_ORIENTATION_VERTICAL, expectedWidth));
  wait([&] {
    return gtk_widget_get_mapped(view()) != FALSE &&
           gtk_widget_get_width(view()) == expectedWidth &&
           gtk_widget_get_height(view()) == expectedHeight &&
           gtk_window_is_active(window()) != FALSE;
  });
}

void NoticeFixture::wait(const std::function<bool()>& condition) {
  while (!condition()) {
    g_main_context_iteration(nullptr, TRUE);
  }
}

void NoticeFixture::settle() {
  gdk_display_sync(gdk_display_get_default());
  while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
  }
}

GtkWindow* NoticeFixture::window() const { return GTK_WINDOW(gtk_widget_get_root(view())); }

GtkWidget* NoticeFixture::view() const {
  GListModel* const windows = gtk_window_get_toplevels();
  EXPECT_EQ(g_list_model_get_n_items(windows), 1U);
  auto* const shown = GTK_WINDOW(g_list_model_get_item(windows, 0));
  g_object_unref(shown);
  return gtk_window_get_child(shown);
}

GtkWidget* NoticeFixture::stack() const {
  EXPECT_EQ(gtk_widget_get_first_child(view()), gtk_widget_get_last_child(view()));
  return gtk_widget_get_first_child(view());
}

GtkWidget* NoticeFixture::title() const { return find(view(), GTK_TYPE_LABEL, 0); }
GtkWidget* NoticeFixture::message() const { return find(view(), GTK_TYPE_LABEL, 1); }
GtkWidget* NoticeFixture::button() const { return find(view(), GTK_TYPE_BUTTON, 0); }

graphene_rect_t NoticeFixture::bounds(GtkWidget* widget) const {
  graphene_rect_t rectangle{};
  EXPECT_TRUE(gtk_widget_compute_bounds(widget, view(), &rectangle));
  return rectangle;
}

}  // namespace korvan::lab
