#include <cstdlib>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/ui/MainLoop.h"
#include "platform/linux/ui/Toplevel.h"
#include "platform/linux/ui/WindowList.h"
#include "tests/ui/support/Keyboard.h"
#include "tests/ui/support/TestWindows.h"

// Last: it brings macros with common names.
#include <gdk/x11/gdkx.h>

namespace {

using namespace ui_test;  // NOLINT(google-build-using-namespace)
using testing::ElementsAre;

const std::string kPreferencesTitle = "Preferences";
const std::vector<std::string> kPreferencesHandlers{"onVideoSelect", "onPreviewChanged",
                                                    "onOutputLocationChanged", "onDoneClicked"};

class RecordingDelegate : public platform::NSWindowDelegate {
 public:
  void windowDidBecomeKey() override { ++becameKey; }
  void windowDidChangeOcclusionState() override { visible.push_back(window && window->isVisible()); }

  std::shared_ptr<platform::NSWindow> window;
  int becameKey = 0;
  std::vector<bool> visible;  ///< what the window answers at each call
};

class WindowTest : public testing::Test {
 protected:
  void SetUp() override { open(); }

  void open() {
    preview_ = ui_->loadNibNamed(
        "PreviewWindowController",
        recording({"shootButtonPressed", "closeButtonPressed", "preferencesButtonPressed"}));
    ASSERT_TRUE(preview_);
    window_ = preview_->window();
    delegate_->window = window_;
    window_->setDelegate(delegate_);
  }

  void close() {
    delegate_->window = nullptr;
    window_ = nullptr;
    preview_ = nullptr;
  }

  platform::NSActions recording(const std::vector<std::string>& handlers) {
    platform::NSActions actions;
    for (const auto& handler : handlers)
      actions[handler] = [this, handler] { calls_.push_back(handler); };
    return actions;
  }

  GtkWindow* gtkWindow() { return toplevelWithTitle("Camera Shot"); }

  void show() {
    window_->makeKeyAndOrderFront();
    ASSERT_TRUE(
        runUntil([this] { return gtk_window_is_active(gtkWindow()) && !delegate_->visible.empty(); }));
  }

  /// When the user last turned to the program, as the toolkit tells the window manager.
  static guint32 userTime() {
    G_GNUC_BEGIN_IGNORE_DEPRECATIONS
    return gdk_x11_display_get_user_time(gdk_display_get_default());
    G_GNUC_END_IGNORE_DEPRECATIONS
  }

  /// Whatever was due has happened when this returns.
  void settle() {
    bool done = false;
    platform_linux::postToMainLoop([&done] { done = true; });
    ASSERT_TRUE(runUntil([&done] { return done; }));
  }

  bool waitForCalls(std::size_t count) {
    return runUntil([this, count] { return calls_.size() >= count; });
  }

  TestUserInterface ui_;
  std::unique_ptr<platform::NSNib> preview_;
  std::shared_ptr<platform::NSWindow> window_;
  std::shared_ptr<RecordingDelegate> delegate_ = std::make_shared<RecordingDelegate>();
  std::vector<std::string> calls_;
};

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

/// Sees the keys that reach a window, before the window does.
class KeySpy {
 public:
  explicit KeySpy(GtkWindow* window) {
    GtkEventController* const controller = gtk_event_controller_legacy_new();
    gtk_event_controller_set_propagation_phase(controller, GTK_PHASE_CAPTURE);
    g_signal_connect(
        controller, "event",
        G_CALLBACK(+[](GtkEventControllerLegacy*, GdkEvent* event, gpointer spy) noexcept -> gboolean {
          static_cast<KeySpy*>(spy)->count(gdk_event_get_event_type(event));
          return FALSE;
        }),
        this);
    gtk_widget_add_controller(GTK_WIDGET(window), controller);
    remove_ = [window, controller] { gtk_widget_remove_controller(GTK_WIDGET(window), controller); };
  }
  KeySpy(const KeySpy&) = delete;
  KeySpy& operator=(const KeySpy&) = delete;
  ~KeySpy() { remove_(); }

  int presses = 0;
  int releases = 0;

 private:
  void count(GdkEventType type) {
    if (type == GDK_KEY_PRESS) ++presses;
    if (type == GDK_KEY_RELEASE) ++releases;
  }

  std::function<void()> remove_;
};

class ShootKeysTest : public WindowTest, public testing::WithParamInterface<std::string> {
 protected:
  void SetUp() override {
    WindowTest::SetUp();
    const auto button = std::dynamic_pointer_cast<platform::NSButton>(preview_->view("button"));
    button->setImage(ui_->imageNamed("TakePhoto"));
    button->setAlternateImage(ui_->imageNamed("TakePhotoPressed"));
    button->setEnabled(true);
    show();
  }

  GtkWidget* widget(const std::string& id) { return widgetById(GTK_WIDGET(gtkWindow()), id); }

  std::string shownImage() {
    return gtk_image_get_icon_name(GTK_IMAGE(findWidget(widget("button"), GTK_TYPE_IMAGE)));
  }

  /// Holds the key until it has repeated itself, and releases it.
  void hold() {
    KeySpy keys(gtkWindow());
    {
      const HeldKey held(GetParam());
      ASSERT_TRUE(runUntil([&] { return keys.presses >= 4; })) << "the key does not repeat itself";
    }
    ASSERT_TRUE(runUntil([&] { return keys.releases > 0; }));
    settle();
  }
};

TEST_P(ShootKeysTest, ShootOnceHoweverLongTheyAreHeld) {
  hold();
  EXPECT_THAT(calls_, ElementsAre("shootButtonPressed"));
  hold();
  EXPECT_THAT(calls_, ElementsAre("shootButtonPressed", "shootButtonPressed"))
      << "released, it is a new press";
}

TEST_P(ShootKeysTest, ShootOnceWithTheFocusOnTheShootButton) {
  gtk_widget_grab_focus(widget("button"));
  hold();
  EXPECT_THAT(calls_, ElementsAre("shootButtonPressed"));
}

TEST_P(ShootKeysTest, ActOnceWithTheFocusOnAnotherButton) {
  gtk_widget_grab_focus(widget("preferencesButton"));
  hold();
  EXPECT_THAT(calls_, ElementsAre("preferencesButtonPressed"));
}

TEST_P(ShootKeysTest, AKeyThatIsDownWhenTheWindowGetsTheKeyboardIsNoPress) {
  const auto other = ui_->loadNibNamed("PreferencesWindowController", recording(kPreferencesHandlers));
  other->window()->makeKeyAndOrderFront();
  GtkWindow* const otherWindow = toplevelWithTitle(kPreferencesTitle);
  ASSERT_TRUE(runUntil([=] { return gtk_window_is_active(otherWindow); }));
  gtk_window_set_focus(otherWindow, nullptr);
  KeySpy keys(gtkWindow());
  {
    const HeldKey held(GetParam());
    window_->makeKeyAndOrderFront();
    ASSERT_TRUE(runUntil([&] { return keys.presses >= 4; }));
  }
  ASSERT_TRUE(runUntil([&] { return keys.releases > 0; }));
  EXPECT_THAT(calls_, ElementsAre());
  pressKey(GetParam());
  ASSERT_TRUE(waitForCalls(1));
  EXPECT_THAT(calls_, ElementsAre("shootButtonPressed"));
}

TEST_P(ShootKeysTest, ShowThePressedImageWhileTheyAreDown) {
  for (const auto* focus : {"captureView", "button"}) {
    gtk_widget_grab_focus(widget(focus));
    calls_.clear();
    {
      const HeldKey held(GetParam());
      ASSERT_TRUE(waitForCalls(1));
      EXPECT_EQ(shownImage(), "TakePhotoPressed") << focus;
    }
    EXPECT_TRUE(runUntil([this] { return shownImage() == "TakePhoto"; })) << focus;
  }
}

TEST_P(ShootKeysTest, DoNothingWhileTheButtonIsDisabled) {
  std::dynamic_pointer_cast<platform::NSButton>(preview_->view("button"))->setEnabled(false);
  KeySpy keys(gtkWindow());
  pressKey(GetParam());
  ASSERT_TRUE(runUntil([&] { return keys.releases > 0; }));
  settle();
  EXPECT_THAT(calls_, ElementsAre());
}

INSTANTIATE_TEST_SUITE_P(Keys, ShootKeysTest, testing::Values("space", "Return", "KP_Enter"),
                         [](const auto& key) { return key.param; });

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
