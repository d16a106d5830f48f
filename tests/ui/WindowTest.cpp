#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/ui/Toplevel.h"
#include "tests/ui/support/Keyboard.h"
#include "tests/ui/support/WindowFixture.h"

// Last: it brings macros with common names.
#include <gdk/x11/gdkx.h>

namespace {

using namespace ui_test;  // NOLINT(google-build-using-namespace)
using testing::ElementsAre;

/// When the user last turned to the program, as the toolkit tells the window manager.
guint32 userTime() {
  G_GNUC_BEGIN_IGNORE_DEPRECATIONS
  return gdk_x11_display_get_user_time(gdk_display_get_default());
  G_GNUC_END_IGNORE_DEPRECATIONS
}

TEST_F(WindowTest, IsNotOnTheScreenBeforeItIsShown) {
  EXPECT_FALSE(window_->isVisible());
  EXPECT_FALSE(ui_->hasVisibleWindows());
}

TEST_F(WindowTest, TellsItsDelegateWhenItComesAndGoes) {
  show();
  EXPECT_TRUE(window_->isVisible());
  EXPECT_TRUE(ui_->hasVisibleWindows());
  EXPECT_THAT(delegate_->visible, ElementsAre(true));
  EXPECT_GE(delegate_->becameKey, 1);

  window_->orderOut();
  EXPECT_FALSE(window_->isVisible()) << "at once";
  EXPECT_THAT(delegate_->visible, ElementsAre(true)) << "the word of it comes later";
  settle();
  EXPECT_THAT(delegate_->visible, ElementsAre(true, false));
  EXPECT_EQ(ui_.lastWindowClosed, 0) << "the program took it away, not the user";
}

TEST_F(WindowTest, ComesBackAfterItWasTakenAway) {
  show();
  window_->orderOut();
  settle();
  window_->makeKeyAndOrderFront();
  EXPECT_TRUE(window_->isVisible());
  ASSERT_TRUE(runUntil([this] { return delegate_->visible.size() == 3; }));
  EXPECT_TRUE(delegate_->visible.back());
}

TEST_F(WindowTest, IsVisibleThoughOthersCoverIt) {
  show();
  const auto other = ui_->loadNibNamed("PreferencesWindowController", recording(kPreferencesHandlers));
  gtk_window_maximize(toplevelWithTitle(kPreferencesTitle));
  other->window()->makeKeyAndOrderFront();
  ASSERT_TRUE(runUntil([] { return gtk_window_is_active(toplevelWithTitle(kPreferencesTitle)); }));
  EXPECT_TRUE(window_->isVisible());
}

TEST_F(WindowTest, IsNotVisibleWhileMinimised) {
  show();
  gtk_window_minimize(gtkWindow());
  ASSERT_TRUE(runUntil([this] { return delegate_->visible.size() == 2; }));
  EXPECT_THAT(delegate_->visible, ElementsAre(true, false));
  EXPECT_FALSE(window_->isVisible());
  EXPECT_TRUE(ui_->hasVisibleWindows()) << "the user has not closed it";

  window_->makeKeyAndOrderFront();
  ASSERT_TRUE(runUntil([this] { return delegate_->visible.size() == 3; }));
  EXPECT_TRUE(window_->isVisible());
}

TEST_F(WindowTest, ClosingTheLastOneIsTold) {
  show();
  gtk_window_close(gtkWindow());
  ASSERT_TRUE(runUntil([this] { return ui_.lastWindowClosed == 1; }));
  EXPECT_FALSE(window_->isVisible());
  settle();
  EXPECT_FALSE(delegate_->visible.back());
}

TEST_F(WindowTest, ClosingOneOfTwoIsNotTheLast) {
  show();
  const auto other = ui_->loadNibNamed("PreferencesWindowController", recording(kPreferencesHandlers));
  other->window()->makeKeyAndOrderFront();
  gtk_window_close(gtkWindow());
  settle();
  EXPECT_EQ(ui_.lastWindowClosed, 0);
  gtk_window_close(toplevelWithTitle(kPreferencesTitle));
  settle();
  EXPECT_EQ(ui_.lastWindowClosed, 1);
}

TEST_F(WindowTest, ADelegateThatHasGoneIsNotCalled) {
  show();
  delegate_ = std::make_shared<RecordingDelegate>();
  window_->orderOut();
  settle();
  EXPECT_TRUE(delegate_->visible.empty());
}

TEST_F(WindowTest, IsResizableAsItsStyleSays) {
  EXPECT_EQ(window_->styleMask() & platform::NSWindowStyleMaskResizable,
            platform::NSWindowStyleMaskResizable);
  window_->setStyleMask(0);
  EXPECT_EQ(window_->styleMask() & platform::NSWindowStyleMaskResizable, 0U);
  window_->setStyleMask(platform::NSWindowStyleMaskResizable);
  EXPECT_TRUE(gtk_window_get_resizable(gtkWindow()));
}

TEST_F(WindowTest, KeepsItsSizeAndPlaceBetweenRuns) {
  window_->setFrameAutosaveName("PreviewWindowController");
  gtk_window_set_default_size(gtkWindow(), 700, 420);
  show();
  const platform_linux::WindowFrame::Position place{140, 90};
  platform_linux::moveTo(gtkWindow(), place);
  ASSERT_TRUE(runUntil([&] { return platform_linux::positionOf(gtkWindow()) == place; }));
  close();
  delegate_->visible.clear();

  ui_.restart();
  open();
  window_->setFrameAutosaveName("PreviewWindowController");
  show();
  int width = 0;
  int height = 0;
  gtk_window_get_default_size(gtkWindow(), &width, &height);
  EXPECT_EQ(width, 700);
  EXPECT_EQ(height, 420);
  EXPECT_TRUE(runUntil([&] { return platform_linux::positionOf(gtkWindow()) == place; }));
}

TEST_F(WindowTest, WithoutAStoredFrameTheLayoutDecides) {
  window_->setFrameAutosaveName("PreviewWindowController");
  int width = 0;
  int height = 0;
  gtk_window_get_default_size(gtkWindow(), &width, &height);
  EXPECT_EQ(width, 960);
  EXPECT_EQ(height, 540);
}

TEST_F(WindowTest, ItsShortcutsReachTheirHandlers) {
  show();
  pressKey("ctrl+comma");
  ASSERT_TRUE(waitForCalls(1));
  pressKey("ctrl+w");
  ASSERT_TRUE(waitForCalls(2));
  EXPECT_THAT(calls_, ElementsAre("preferencesButtonPressed", "closeButtonPressed"));
  pressKey("ctrl+q");
  EXPECT_TRUE(runUntil([this] { return ui_.quits == 1; }));
}

TEST_F(WindowTest, EscapeClosesThePreferences) {
  const auto preferences = ui_->loadNibNamed("PreferencesWindowController", recording(kPreferencesHandlers));
  preferences->window()->makeKeyAndOrderFront();
  ASSERT_TRUE(runUntil([] { return gtk_window_is_active(toplevelWithTitle(kPreferencesTitle)); }));
  pressKey("Escape");
  ASSERT_TRUE(runUntil([this] { return ui_.lastWindowClosed == 1; }));
  EXPECT_FALSE(preferences->window()->isVisible());
  EXPECT_TRUE(calls_.empty());
}

TEST_F(WindowTest, ActivationBringsTheShownWindowsToTheFront) {
  ui_->activate();
  EXPECT_FALSE(window_->isVisible()) << "what is not shown stays away";
  show();
  const auto other = ui_->loadNibNamed("PreferencesWindowController", recording(kPreferencesHandlers));
  other->window()->makeKeyAndOrderFront();
  GtkWindow* const otherWindow = toplevelWithTitle(kPreferencesTitle);
  ASSERT_TRUE(runUntil([=] { return gtk_window_is_active(otherWindow); }));
  gtk_window_minimize(otherWindow);
  ASSERT_TRUE(runUntil([&] { return !other->window()->isVisible(); }));
  ui_->activate();
  EXPECT_TRUE(runUntil([&] { return other->window()->isVisible(); }));
}

TEST_F(WindowTest, TheFirstWindowToBeShownUsesTheDesktopsActivationToken) {
  ui_.activationToken = "token_TIME0";
  show();
  EXPECT_EQ(ui_.activationToken, "");
  ui_.activationToken = "another_TIME0";
  ui_->activate();
  EXPECT_EQ(ui_.activationToken, "");
}

TEST_F(WindowTest, ShownWithoutATokenItComesAsAskedForNow) {
  show();
  const guint32 before = userTime();
  window_->orderOut();
  pressKey("Shift_L");  // reaches nobody, but time goes by
  settle();
  window_->makeKeyAndOrderFront();
  EXPECT_GT(userTime(), before);
}

TEST_F(WindowTest, ActivatedByAnOldTokenOrNoneItComesAsAskedForNow) {
  show();
  // Plasma's start menu on X11 gives every later start the token of its first (5.27).
  for (const char* const token : {"", "start-menu_TIME1"}) {
    gtk_window_minimize(gtkWindow());
    ASSERT_TRUE(runUntil([this] { return !window_->isVisible(); }));
    const guint32 before = userTime();
    pressKey("Shift_L");  // reaches nobody, but time goes by
    settle();
    ui_.activationToken = token;
    ui_->activate();
    EXPECT_GT(userTime(), before) << token;
    ASSERT_TRUE(runUntil([this] { return gtk_window_is_active(gtkWindow()); }));
  }
}

}  // namespace
