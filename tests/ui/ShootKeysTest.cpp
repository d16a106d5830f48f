#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/ui/support/Keyboard.h"
#include "tests/ui/support/WindowFixture.h"

namespace {

using namespace ui_test;  // NOLINT(google-build-using-namespace)
using testing::ElementsAre;

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

}  // namespace
