#include <gtest/gtest.h>

#include "platform/linux/ui/WindowList.h"
#include "tests/ui/support/TestWindows.h"

namespace {

using namespace ui_test;  // NOLINT(google-build-using-namespace)

class WindowListTest : public testing::Test {
 protected:
  GtkWindow* open(const char* title) {
    auto* const window = GTK_WINDOW(gtk_window_new());
    gtk_window_set_title(window, title);
    list_.add(window, [window] { gtk_widget_set_visible(GTK_WIDGET(window), FALSE); });
    gtk_window_present(window);
    EXPECT_TRUE(runUntil([window] { return gtk_window_is_active(window); }));
    return window;
  }

  TestUserInterface ui_;
  platform_linux::WindowList list_{[] {}, [] { return std::string(); }};
};

TEST_F(WindowListTest, AWindowAskedToTheFrontIsCurrentBeforeItHasTheKeyboard) {
  GtkWindow* const first = open("first");
  GtkWindow* const second = open("second");
  list_.turnedTo(first);
  ASSERT_TRUE(gtk_window_is_active(second));
  EXPECT_EQ(list_.current(), first);
  list_.activate();
  EXPECT_TRUE(runUntil([first] { return gtk_window_is_active(first); }));
  gtk_window_destroy(second);
  gtk_window_destroy(first);
}

TEST_F(WindowListTest, AWindowThatIsNotShownIsNeverCurrent) {
  GtkWindow* const first = open("first");
  GtkWindow* const second = open("second");
  EXPECT_EQ(list_.current(), second);
  gtk_widget_set_visible(GTK_WIDGET(second), FALSE);
  EXPECT_EQ(list_.current(), first);
  gtk_widget_set_visible(GTK_WIDGET(first), FALSE);
  EXPECT_EQ(list_.current(), nullptr);
  gtk_window_destroy(second);
  gtk_window_destroy(first);
}

}  // namespace
