// Layouts are held to what controllers rely on: here, and not in a user's session, a broken one must show.
#include <map>

#include <adwaita.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fakes/LayoutOutlets.h"
#include "tests/ui/support/LayoutFile.h"
#include "tests/ui/support/TestWindows.h"

namespace {

using namespace ui_test;  // NOLINT(google-build-using-namespace)
using testing::HasSubstr;
using testing::UnorderedElementsAre;

const std::set<std::string> kPreviewHandlers{"shootButtonPressed", "closeButtonPressed",
                                             "preferencesButtonPressed"};
const std::set<std::string> kHandlersOfPreferences{"onVideoSelect", "onPreviewChanged",
                                                   "onOutputLocationChanged", "onDoneClicked"};

class LayoutsTest : public testing::Test {
 protected:
  platform::NSActions recording(const std::set<std::string>& handlers) {
    platform::NSActions actions;
    for (const auto& handler : handlers)
      actions[handler] = [this, handler] { calls_.push_back(handler); };
    return actions;
  }

  GtkWidget* widget(const std::string& title, const std::string& id) {
    return widgetById(GTK_WIDGET(toplevelWithTitle(title)), id);
  }

  TestUserInterface ui_;
  std::vector<std::string> calls_;
};

template <class View>
bool isA(const platform::NSNib& nib, const std::string& outlet) {
  return std::dynamic_pointer_cast<View>(nib.view(outlet)) != nullptr;
}

TEST_F(LayoutsTest, PreviewHasEveryOutletOfItsKind) {
  const auto nib = ui_->loadNibNamed("PreviewWindowController", recording(kPreviewHandlers));
  ASSERT_TRUE(nib);
  EXPECT_TRUE(nib->window());
  EXPECT_TRUE(isA<platform::NSView>(*nib, "captureView"));
  EXPECT_TRUE(isA<platform::NSView>(*nib, "warningView"));
  EXPECT_TRUE(isA<platform::NSImageView>(*nib, "warningImage"));
  EXPECT_TRUE(isA<platform::NSTextField>(*nib, "warningText"));
  EXPECT_TRUE(isA<platform::NSTextField>(*nib, "warningDescription"));
  for (const auto* button : {"button", "closeButton", "preferencesButton"})
    EXPECT_TRUE(isA<platform::NSButton>(*nib, button)) << button;
}

TEST_F(LayoutsTest, PreferencesHaveEveryOutletOfItsKind) {
  const auto nib = ui_->loadNibNamed("PreferencesWindowController", recording(kHandlersOfPreferences));
  ASSERT_TRUE(nib);
  EXPECT_TRUE(nib->window());
  EXPECT_TRUE(isA<platform::NSPopUpButton>(*nib, "videoSource"));
  for (const auto* button : {"previewSetting", "outputLocation", "doneButton"})
    EXPECT_TRUE(isA<platform::NSButton>(*nib, button)) << button;
}

TEST_F(LayoutsTest, TheFakesInventNoOutlet) {
  for (const auto& [name, outlets] : fakes::kLayoutOutlets) {
    const LayoutFile layout(name);
    for (const auto& outlet : outlets)
      EXPECT_THAT(layout.ids, testing::Contains(outlet)) << name;
  }
}

TEST_F(LayoutsTest, PreviewNamesNothingUnknown) {
  const LayoutFile layout("PreviewWindowController");
  EXPECT_THAT(layout.ids,
              UnorderedElementsAre("window", "captureView", "warningView", "warningImage", "warningText",
                                   "warningDescription", "button", "closeButton", "preferencesButton",
                                   "cameraStatus", "header", "titleButtons", "windowControls"));
  EXPECT_EQ(layout.handlers, kPreviewHandlers);
  EXPECT_THAT(layout.shortcutActions, UnorderedElementsAre("closeButtonPressed", "preferencesButtonPressed",
                                                           "quit", "showShortcuts"));
}

TEST_F(LayoutsTest, PreferencesNameNothingUnknown) {
  const LayoutFile layout("PreferencesWindowController");
  EXPECT_THAT(layout.ids, UnorderedElementsAre("window", "videoSource", "previewSetting", "outputLocation",
                                               "outputLocationWarning", "outputLocationName", "doneButton"));
  EXPECT_EQ(layout.handlers, kHandlersOfPreferences);
  EXPECT_THAT(layout.shortcutActions, UnorderedElementsAre("quit", "showShortcuts"));
}

TEST_F(LayoutsTest, TextsAreTranslatedFromTheProgramsTable) {
  for (const auto* name : {"PreviewWindowController", "PreferencesWindowController"})
    EXPECT_THAT(LayoutFile(name).domains, UnorderedElementsAre("quillo-camera-shot")) << name;
}

TEST_F(LayoutsTest, EachButtonOfThePreviewSendsItsHandler) {
  const auto nib = ui_->loadNibNamed("PreviewWindowController", recording(kPreviewHandlers));
  for (const auto* button : {"button", "closeButton", "preferencesButton"})
    g_signal_emit_by_name(widget("Camera Shot", button), "clicked");
  EXPECT_THAT(calls_,
              testing::ElementsAre("shootButtonPressed", "closeButtonPressed", "preferencesButtonPressed"));
}

TEST_F(LayoutsTest, EachControlOfThePreferencesSendsItsHandler) {
  const auto nib = ui_->loadNibNamed("PreferencesWindowController", recording(kHandlersOfPreferences));
  const auto popup = std::dynamic_pointer_cast<platform::NSPopUpButton>(nib->view("videoSource"));
  popup->addItem({"One"});
  popup->addItem({"Two"});
  const std::string title = "Preferences";
  GtkWidget* const popover = findWidget(widget(title, "videoSource"), GTK_TYPE_POPOVER);
  g_signal_emit_by_name(findWidget(popover, GTK_TYPE_LIST_VIEW), "activate", 1U);
  gtk_switch_set_active(GTK_SWITCH(widget(title, "previewSetting")), TRUE);
  g_signal_emit_by_name(widget(title, "outputLocation"), "clicked");
  g_signal_emit_by_name(widget(title, "doneButton"), "clicked");
  EXPECT_THAT(calls_, testing::ElementsAre("onVideoSelect", "onPreviewChanged", "onOutputLocationChanged",
                                           "onDoneClicked"));
}

TEST_F(LayoutsTest, WidgetsWithoutAVisibleNameHaveAnAccessibleOne) {
  const auto nib = ui_->loadNibNamed("PreviewWindowController", recording(kPreviewHandlers));
  for (const auto* id : {"button", "closeButton", "preferencesButton", "captureView"})
    EXPECT_TRUE(gtk_test_accessible_has_property(GTK_ACCESSIBLE(widget("Camera Shot", id)),
                                                 GTK_ACCESSIBLE_PROPERTY_LABEL))
        << id;
}

/// Letters of another size, for the time that it lives.
class LetterScale {
 public:
  explicit LetterScale(double scale) {
    g_object_set(settings_, "gtk-xft-dpi", int(kNormal * scale), nullptr);
  }
  ~LetterScale() { g_object_set(settings_, "gtk-xft-dpi", kNormal, nullptr); }
  LetterScale(const LetterScale&) = delete;
  LetterScale& operator=(const LetterScale&) = delete;

 private:
  static constexpr int kNormal = 96 * 1024;  // dots an inch, in 1024ths
  GtkSettings* const settings_ = gtk_settings_get_default();
};

TEST_F(LayoutsTest, TheWarningStaysClearOfTheShootButton) {
  for (const double scale : {1.0, 1.5, 2.0}) {
    const LetterScale letters(scale);
    const auto nib = ui_->loadNibNamed("PreviewWindowController", recording(kPreviewHandlers));
    const auto panel = nib->view("warningView");
    panel->setHidden(false);
    const auto text = [&](const char* id) {
      return std::dynamic_pointer_cast<platform::NSTextField>(nib->view(id));
    };
    text("warningText")->setStringValue("The tool is not allowed to access the camera.");
    text("warningDescription")->setHidden(false);
    text("warningDescription")
        ->setStringValue(
            "Please open the macOS System Preferences > Security & Privacy > Privacy and allow \"Verrano "
            "Quillo\" to access the camera.");
    nib->window()->makeKeyAndOrderFront();
    const Screenshot drawn(GTK_WIDGET(toplevelWithTitle("Camera Shot")));
    const auto boundsOf = [&](const char* id) {
      graphene_rect_t bounds{};
      EXPECT_TRUE(gtk_widget_compute_bounds(widget("Camera Shot", id),
                                            GTK_WIDGET(toplevelWithTitle("Camera Shot")), &bounds));
      return bounds;
    };
    const auto button = boundsOf("button");
    for (const char* const id : {"warningImage", "warningText", "warningDescription"}) {
      const auto bounds = boundsOf(id);
      EXPECT_GE(bounds.origin.y, 0) << id << " at " << scale;
      EXPECT_LE(bounds.origin.y + bounds.size.height, button.origin.y) << id << " at " << scale;
    }
  }
}

TEST_F(LayoutsTest, AnUnknownOutletIsNoView) {
  const auto nib = ui_->loadNibNamed("PreviewWindowController", recording(kPreviewHandlers));
  EXPECT_FALSE(nib->view("noSuchOutlet"));
}

TEST_F(LayoutsTest, AskedTwiceAnOutletIsTheSameView) {
  const auto nib = ui_->loadNibNamed("PreviewWindowController", recording(kPreviewHandlers));
  EXPECT_EQ(nib->view("button"), nib->view("button"));
}

class BrokenLayoutsTest : public testing::Test {
 protected:
  /// The reason why the layout is refused; empty when it is not.
  std::string load(const std::string& name, platform::NSActions actions = {}) {
    platform_linux::Worker decodeThread;
    platform_linux::WindowFrames frames("/nowhere");
    platform_linux::WindowList windows([] {}, [] { return std::string(); });
    const platform_linux::NibLoader loader(windows, frames, decodeThread, {});
    std::string whyNot;
    return loader.load(name, std::move(actions), whyNot) ? "" : whyNot;
  }

  TestUserInterface ui_;
};

TEST_F(BrokenLayoutsTest, AHandlerThatNobodyHasIsAnError) {
  EXPECT_THAT(load("UnknownHandler"), HasSubstr("nobodyHandlesThis"));
  EXPECT_EQ(load("UnknownHandler", {{"nobodyHandlesThis", [] {}}}), "");
}

TEST_F(BrokenLayoutsTest, EachMissingActionOfOursIsAnError) {
  for (const auto& missing : kPreviewHandlers) {
    platform::NSActions actions;
    for (const auto& handler : kPreviewHandlers)
      if (handler != missing) actions[handler] = [] {};
    EXPECT_THAT(load("PreviewWindowController", actions), HasSubstr(missing));
  }
}

TEST_F(BrokenLayoutsTest, WhatIsNoLayoutIsAnError) {
  EXPECT_THAT(load("UnknownClass"), HasSubstr("NoSuchWidget"));
  EXPECT_THAT(load("NoWindow"), HasSubstr("no window"));
  EXPECT_THAT(load("NoSuchLayout"), HasSubstr("NoSuchLayout"));
}

TEST_F(BrokenLayoutsTest, ARefusedLayoutLeavesNoWindowBehind) {
  const auto before = g_list_model_get_n_items(gtk_window_get_toplevels());
  load("UnknownHandler");
  load("UnknownClass");
  EXPECT_EQ(g_list_model_get_n_items(gtk_window_get_toplevels()), before);
}

TEST_F(BrokenLayoutsTest, NamedImagesAreThoseOfTheResources) {
  for (const auto* name : {"TakePhoto", "TakePhotoPressed", "CameraOff"})
    EXPECT_TRUE(ui_->imageNamed(name)) << name;
  EXPECT_FALSE(ui_->imageNamed("NoSuchImage"));
  EXPECT_FALSE(ui_->imageNamed("takephoto"));
}

}  // namespace
