#include <adwaita.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/ui/MainLoop.h"
#include "tests/ui/support/Keyboard.h"
#include "tests/ui/support/TestWindows.h"

namespace {

using namespace ui_test;  // NOLINT(google-build-using-namespace)

class ViewTest : public testing::Test {
 protected:
  void SetUp() override {
    preview_ = load("PreviewWindowController",
                    {"shootButtonPressed", "closeButtonPressed", "preferencesButtonPressed"});
    preferences_ = load("PreferencesWindowController",
                        {"onVideoSelect", "onPreviewChanged", "onOutputLocationChanged", "onDoneClicked"});
    ASSERT_TRUE(preview_ && preferences_);
  }

  std::unique_ptr<platform::NSNib> load(const std::string& name, const std::vector<std::string>& handlers) {
    platform::NSActions actions;
    for (const auto& handler : handlers)
      actions[handler] = [this, handler] { calls_.push_back(handler); };
    return ui_->loadNibNamed(name, actions);
  }

  template <class View>
  std::shared_ptr<View> preview(const std::string& outlet) {
    return std::dynamic_pointer_cast<View>(preview_->view(outlet));
  }

  template <class View>
  std::shared_ptr<View> preferences(const std::string& outlet) {
    return std::dynamic_pointer_cast<View>(preferences_->view(outlet));
  }

  GtkWidget* widget(const std::string& id) {
    GtkWidget* const found = widgetById(GTK_WIDGET(toplevelWithTitle("Camera Shot")), id);
    return found ? found : widgetById(GTK_WIDGET(toplevelWithTitle("Preferences")), id);
  }

  /// The titles in the popup as the user reads them.
  std::vector<std::string> shownTitles() {
    GListModel* const model = adw_combo_row_get_model(ADW_COMBO_ROW(widget("videoSource")));
    std::vector<std::string> titles;
    for (guint i = 0; i < g_list_model_get_n_items(model); ++i)
      titles.emplace_back(gtk_string_list_get_string(GTK_STRING_LIST(model), i));
    return titles;
  }

  /// Opens the popup's list by the keyboard; returns the list.
  GtkWidget* openPopup() {
    preferences_->window()->makeKeyAndOrderFront();
    GtkWindow* const window = toplevelWithTitle("Preferences");
    EXPECT_TRUE(runUntil([window] { return gtk_window_is_active(window); }));
    GtkWidget* const list = findWidget(widget("videoSource"), GTK_TYPE_POPOVER);
    gtk_widget_grab_focus(widget("videoSource"));
    pressKey("space");
    EXPECT_TRUE(runUntil([list] { return gtk_widget_get_mapped(list); }));
    return list;
  }

  TestUserInterface ui_;
  std::unique_ptr<platform::NSNib> preview_;
  std::unique_ptr<platform::NSNib> preferences_;
  std::vector<std::string> calls_;
};

TEST_F(ViewTest, PopupHoldsItsItemsInOrder) {
  const auto popup = preferences<platform::NSPopUpButton>("videoSource");
  EXPECT_EQ(popup->numberOfItems(), 0);
  EXPECT_EQ(popup->indexOfSelectedItem(), -1);
  popup->addItem({"Desk camera"});
  popup->addItem({"Front camera"});
  EXPECT_EQ(popup->numberOfItems(), 2);
  popup->selectItemAtIndex(1);
  EXPECT_EQ(popup->indexOfSelectedItem(), 1);
  EXPECT_THAT(shownTitles(), testing::ElementsAre("Desk camera", "Front camera"));
  popup->removeAllItems();
  EXPECT_EQ(popup->numberOfItems(), 0);
  EXPECT_EQ(popup->indexOfSelectedItem(), -1);
}

TEST_F(ViewTest, PopupTellsEqualTitlesApart) {
  const auto popup = preferences<platform::NSPopUpButton>("videoSource");
  for (const auto* title : {"Desk camera", "Desk camera", "Front camera", "Desk camera"})
    popup->addItem({title});
  EXPECT_THAT(shownTitles(),
              testing::ElementsAre("Desk camera", "Desk camera (2)", "Front camera", "Desk camera (3)"));
}

TEST_F(ViewTest, PopupSendsItsHandlerForTheUsersChoiceOnly) {
  const auto popup = preferences<platform::NSPopUpButton>("videoSource");
  popup->addItem({"Desk camera"});
  popup->addItem({"Front camera"});
  popup->selectItemAtIndex(1);
  popup->removeAllItems();
  popup->addItem({"Desk camera"});
  popup->addItem({"Front camera"});
  EXPECT_TRUE(calls_.empty());
  openPopup();
  pressKey("Down");
  pressKey("Return");
  ASSERT_TRUE(runUntil([this] { return !calls_.empty(); }));
  EXPECT_THAT(calls_, testing::ElementsAre("onVideoSelect"));
  EXPECT_EQ(popup->indexOfSelectedItem(), 1);
}

TEST_F(ViewTest, PopupSendsItsHandlerForTheItemThatItShowsToo) {
  const auto popup = preferences<platform::NSPopUpButton>("videoSource");
  popup->addItem({"Desk camera"});
  popup->addItem({"Front camera"});
  popup->selectItemAtIndex(1);
  openPopup();
  pressKey("Return");
  ASSERT_TRUE(runUntil([this] { return !calls_.empty(); }));
  EXPECT_THAT(calls_, testing::ElementsAre("onVideoSelect"));
  EXPECT_EQ(popup->indexOfSelectedItem(), 1);
}

TEST_F(ViewTest, PopupSendsItsHandlerForItsOnlyItem) {
  const auto popup = preferences<platform::NSPopUpButton>("videoSource");
  popup->addItem({"Desk camera"});
  popup->selectItemAtIndex(0);
  openPopup();
  pressKey("Return");
  ASSERT_TRUE(runUntil([this] { return !calls_.empty(); }));
  EXPECT_THAT(calls_, testing::ElementsAre("onVideoSelect"));
}

TEST_F(ViewTest, PopupLeftWithoutAChoiceSendsNothing) {
  const auto popup = preferences<platform::NSPopUpButton>("videoSource");
  popup->addItem({"Desk camera"});
  popup->selectItemAtIndex(0);
  GtkWidget* const list = openPopup();
  pressKey("Escape");
  ASSERT_TRUE(runUntil([list] { return !gtk_widget_get_mapped(list); }));
  EXPECT_TRUE(calls_.empty());
}

TEST_F(ViewTest, PopupSendsNothingWhileItIsRefilledUnderTheUsersHands) {
  const auto popup = preferences<platform::NSPopUpButton>("videoSource");
  const auto fill = [&popup](const std::vector<const char*>& titles, int selected) {
    popup->removeAllItems();
    for (const auto* title : titles)
      popup->addItem({title});
    popup->selectItemAtIndex(selected);
  };
  fill({"Desk camera", "Front camera"}, 1);
  openPopup();
  fill({"Front camera"}, 0);
  fill({}, -1);
  EXPECT_EQ(popup->indexOfSelectedItem(), -1);
  fill({"Desk camera", "Front camera", "New camera"}, 2);
  const Screenshot whatIsDueIsDone(GTK_WIDGET(toplevelWithTitle("Preferences")));
  EXPECT_TRUE(calls_.empty());
  EXPECT_EQ(popup->indexOfSelectedItem(), 2);
}

TEST_F(ViewTest, SwitchSendsItsHandlerForTheUsersChangeOnly) {
  const auto setting = preferences<platform::NSButton>("previewSetting");
  setting->setState(platform::NSControlStateValueOn);
  EXPECT_EQ(setting->state(), platform::NSControlStateValueOn);
  EXPECT_TRUE(calls_.empty());
  gtk_switch_set_active(GTK_SWITCH(widget("previewSetting")), FALSE);
  EXPECT_THAT(calls_, testing::ElementsAre("onPreviewChanged"));
  EXPECT_EQ(setting->state(), platform::NSControlStateValueOff);
}

TEST_F(ViewTest, ControlsAreEnabledAndDisabled) {
  const auto button = preview<platform::NSButton>("button");
  EXPECT_FALSE(button->isEnabled()) << "until a camera is there";
  button->setEnabled(true);
  EXPECT_TRUE(button->isEnabled());
  EXPECT_TRUE(gtk_widget_get_sensitive(widget("button")));
}

TEST_F(ViewTest, ButtonShowsItsOtherImageWhilePressed) {
  const auto button = preview<platform::NSButton>("button");
  button->setEnabled(true);
  button->setImage(ui_->imageNamed("TakePhoto"));
  button->setAlternateImage(ui_->imageNamed("TakePhotoPressed"));
  auto* const image = GTK_IMAGE(findWidget(widget("button"), GTK_TYPE_IMAGE));
  EXPECT_STREQ(gtk_image_get_icon_name(image), "TakePhoto");
  gtk_widget_set_state_flags(widget("button"), GTK_STATE_FLAG_ACTIVE, FALSE);
  EXPECT_STREQ(gtk_image_get_icon_name(image), "TakePhotoPressed");
  gtk_widget_unset_state_flags(widget("button"), GTK_STATE_FLAG_ACTIVE);
  EXPECT_STREQ(gtk_image_get_icon_name(image), "TakePhoto");
}

TEST_F(ViewTest, ButtonKeepsItsIconBesideItsTitle) {
  const auto button = preferences<platform::NSButton>("outputLocation");
  button->setTitle("~/Pictures");
  button->setToolTip("/home/somebody/Pictures");
  auto* const label = GTK_LABEL(findWidget(widget("outputLocation"), GTK_TYPE_LABEL));
  EXPECT_STREQ(gtk_label_get_label(label), "~/Pictures");
  EXPECT_TRUE(findWidget(widget("outputLocation"), GTK_TYPE_IMAGE));
  EXPECT_STREQ(gtk_widget_get_tooltip_text(widget("outputLocation")), "/home/somebody/Pictures");
}

TEST_F(ViewTest, TextAndImageAreShown) {
  preview<platform::NSTextField>("warningText")->setStringValue("No <b>camera</b> found");
  EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(widget("warningText"))), "No <b>camera</b> found");
  const auto image = preview<platform::NSImageView>("warningImage");
  image->setImage(ui_->imageNamed("CameraOff"));
  EXPECT_STREQ(gtk_image_get_icon_name(GTK_IMAGE(widget("warningImage"))), "CameraOff");
  image->setImage(nullptr);
  EXPECT_EQ(gtk_image_get_icon_name(GTK_IMAGE(widget("warningImage"))), nullptr);
}

TEST_F(ViewTest, HidingTakesEffectBeforeTheNextDrawing) {
  const auto panel = preview_->view("warningView");
  panel->setHidden(false);
  EXPECT_TRUE(runUntil([this] { return gtk_widget_get_visible(widget("warningView")); }));
  panel->setHidden(true);
  EXPECT_TRUE(runUntil([this] { return !gtk_widget_get_visible(widget("warningView")); }));
}

TEST_F(ViewTest, ShowingAndHidingAtOnceTouchesNothing) {
  int shown = 0;
  g_signal_connect(
      widget("warningView"), "notify::visible",
      G_CALLBACK(+[](GObject*, GParamSpec*, gpointer count) noexcept { ++*static_cast<int*>(count); }),
      &shown);
  const auto panel = preview_->view("warningView");
  panel->setHidden(false);
  panel->setHidden(true);
  bool turned = false;
  platform_linux::postToMainLoop([&turned] { turned = true; });
  ASSERT_TRUE(runUntil([&turned] { return turned; }));
  EXPECT_EQ(shown, 0);
}

TEST_F(ViewTest, WantingALayerTwiceKeepsTheFirst) {
  const auto panel = preview_->view("warningView");
  EXPECT_FALSE(panel->layer());
  panel->setWantsLayer(true);
  const auto layer = panel->layer();
  ASSERT_TRUE(layer);
  panel->setWantsLayer(true);
  EXPECT_EQ(panel->layer(), layer);
  panel->setLayer(nullptr);
  EXPECT_FALSE(panel->layer());
}

}  // namespace
