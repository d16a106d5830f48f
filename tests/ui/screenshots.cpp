// Draws every window in every look that matters and writes the pictures: for people to look at.
//     ui_screenshots FOLDER LOCALE-FOLDER [LANGUAGE]
// The locale folder is that of a build tree or an installation; without a language it is English.
#include <cerrno>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>

#include <adwaita.h>
#include <glib/gi18n.h>

#include "platform/linux/photo/PictureImage.h"
#include "tests/ui/support/FakeCameraLayer.h"
#include "tests/ui/support/TestFrames.h"
#include "tests/ui/support/TestWindows.h"

namespace {

using namespace ui_test;  // NOLINT(google-build-using-namespace): this program is all about them

struct Look {
  std::string name;
  int width = 0;
  int height = 0;
  bool dark = false;
  bool rightToLeft = false;
  bool longTexts = false;
  std::string buttonLayout = ":minimize,maximize,close";
  double fontScale = 1;
};

platform::NSActions silentActions() {
  platform::NSActions actions;
  for (const char* name : {"shootButtonPressed", "closeButtonPressed", "preferencesButtonPressed",
                           "onVideoSelect", "onPreviewChanged", "onOutputLocationChanged", "onDoneClicked"})
    actions[name] = [] {};
  return actions;
}

void apply(const Look& look) {
  gtk_widget_set_default_direction(look.rightToLeft ? GTK_TEXT_DIR_RTL : GTK_TEXT_DIR_LTR);
  adw_style_manager_set_color_scheme(adw_style_manager_get_default(),
                                     look.dark ? ADW_COLOR_SCHEME_FORCE_DARK : ADW_COLOR_SCHEME_FORCE_LIGHT);
  g_object_set(gtk_settings_get_default(), "gtk-decoration-layout", look.buttonLayout.c_str(),
               "gtk-enable-animations", FALSE, "gtk-xft-dpi", static_cast<int>(96 * 1024 * look.fontScale),
               nullptr);
}

/// As the program's string table has it.
std::string localized(const char* text) {
  return dgettext("quillo-camera-shot", text);
}

/// Titles as long as some languages make them.
void lengthen(GtkWidget* widget) {
  if (ADW_IS_PREFERENCES_ROW(widget)) {
    const std::string title = adw_preferences_row_get_title(ADW_PREFERENCES_ROW(widget));
    adw_preferences_row_set_title(ADW_PREFERENCES_ROW(widget),
                                  (title + " und noch etwas mehr davon").c_str());
  }
  for (GtkWidget* child = gtk_widget_get_first_child(widget); child;
       child = gtk_widget_get_next_sibling(child))
    lengthen(child);
}

template <class View>
std::shared_ptr<View> outlet(const platform::NSNib& nib, const char* name) {
  return std::dynamic_pointer_cast<View>(nib.view(name));
}

class Studio {
 public:
  explicit Studio(std::filesystem::path folder) : folder_(std::move(folder)) {}

  void preview(const Look& look) {
    const auto nib = open("PreviewWindowController", look);
    useCamera(*nib);
    waitForPicture();
    shoot(localized("Camera Shot"), "preview-" + look.name);
  }

  /// Before the first picture; with an error as LivePicture tells it.
  void waiting(const Look& look, int error) {
    const auto nib = open("PreviewWindowController", look);
    const auto camera = std::make_shared<FakeCameraLayer>();
    nib->view("captureView")->setLayer(camera);
    camera->fail(error);
    shoot(localized("Camera Shot"), (error == 0 ? "starting-" : "in-use-") + look.name);
  }

  void warning(const Look& look, bool denied) {
    const auto nib = open("PreviewWindowController", look);
    const auto panel = nib->view("warningView");
    panel->setWantsLayer(true);
    panel->setHidden(false);
    panel->layer()->setBackgroundColor(platform::kBlackColor);
    outlet<platform::NSImageView>(*nib, "warningImage")->setImage(ui_->imageNamed("CameraOff"));
    const auto button = outlet<platform::NSButton>(*nib, "button");
    button->setImage(ui_->imageNamed("TakePhoto"));
    button->setEnabled(false);
    const auto text = outlet<platform::NSTextField>(*nib, "warningText");
    const auto description = outlet<platform::NSTextField>(*nib, "warningDescription");
    text->setStringValue(
        localized(denied ? "The tool is not allowed to access the camera." : "No camera found"));
    description->setHidden(!denied);
    description->setStringValue(
        localized("Please open the macOS System Preferences > Security & Privacy > Privacy and allow "
                  "\"Verrano Quillo\" to access the camera."));
    shoot(localized("Camera Shot"), std::string(denied ? "denied-" : "no-camera-") + look.name);
  }

  void preferences(const Look& look) {
    const auto nib = open("PreferencesWindowController", look);
    const auto cameras = outlet<platform::NSPopUpButton>(*nib, "videoSource");
    cameras->addItem({"Integrated Camera"});
    cameras->addItem(
        {look.longTexts ? "An External Camera with a Rather Long Product Name 4K Pro" : "Desk camera"});
    cameras->addItem({"Desk camera"});
    cameras->selectItemAtIndex(1);
    outlet<platform::NSButton>(*nib, "previewSetting")->setState(platform::NSControlStateValueOn);
    outlet<platform::NSButton>(*nib, "outputLocation")
        ->setTitle(look.longTexts ? "~/Documents/Projects/Photographs of things/Camera shots of this year"
                                  : "~/Pictures");
    shoot(localized("Preferences"), "preferences-" + look.name);
  }

  void preferencesWithoutCamera(const Look& look) {
    const auto nib = open("PreferencesWindowController", look);
    const auto cameras = outlet<platform::NSPopUpButton>(*nib, "videoSource");
    cameras->addItem({localized("No camera")});
    cameras->setEnabled(false);
    outlet<platform::NSButton>(*nib, "outputLocation")->setTitle("~/Pictures");
    shoot(localized("Preferences"), "preferences-without-camera-" + look.name);
  }

  void refusedFolder(const Look& look) {
    const auto nib = open("PreferencesWindowController", look);
    outlet<platform::NSButton>(*nib, "outputLocation")->setTitle("~/Pictures");
    ui_->openPanel().showMessage(localized("Photos cannot be saved in this folder.") +
                                 "\n~/Documents/Projects");
    GtkWindow* const dialog = GTK_WINDOW(toplevelOfType(ADW_TYPE_MESSAGE_DIALOG));
    shoot(GTK_WIDGET(dialog), "refused-folder-" + look.name);
    gtk_window_destroy(dialog);
  }

 private:
  std::unique_ptr<platform::NSNib> open(const char* name, const Look& look) {
    apply(look);
    auto nib = ui_->loadNibNamed(name, silentActions());
    const std::string title =
        localized(std::string(name) == "PreviewWindowController" ? "Camera Shot" : "Preferences");
    // The preferences have their natural size.
    if (gtk_window_get_resizable(GTK_WINDOW(window(title))))
      gtk_window_set_default_size(GTK_WINDOW(window(title)), look.width, look.height);
    if (look.longTexts) lengthen(window(title));
    nib->window()->makeKeyAndOrderFront();
    return nib;
  }

  void useCamera(const platform::NSNib& nib) {
    const auto button = outlet<platform::NSButton>(nib, "button");
    button->setImage(ui_->imageNamed("TakePhoto"));
    button->setAlternateImage(ui_->imageNamed("TakePhotoPressed"));
    button->setEnabled(true);
    const auto camera = std::make_shared<FakeCameraLayer>();
    nib.view("captureView")->setLayer(camera);
    camera->deliver(jpegFrame(1280, 720, landscape));
  }

  /// The picture is decoded beside the main thread, and drawn when it is there; until then words stand in the
  /// middle.
  void waitForPicture() {
    GtkWidget* const view = widgetById(window(localized("Camera Shot")), "captureView");
    constexpr int kDrawings = 300;
    for (int i = 0; i < kDrawings; ++i)
      if (Screenshot(view).at(0.2, 0.4).green > 0) return;
    throw std::runtime_error("the camera's picture does not appear");
  }

  GtkWidget* window(const std::string& title) { return GTK_WIDGET(toplevelWithTitle(title)); }

  static GtkWidget* toplevelOfType(GType type) {
    GListModel* const toplevels = gtk_window_get_toplevels();
    for (guint i = 0; i < g_list_model_get_n_items(toplevels); ++i) {
      const auto window = platform_linux::GObjectRef<GtkWidget>::adopt(
          static_cast<GtkWidget*>(g_list_model_get_item(toplevels, i)));
      if (G_TYPE_CHECK_INSTANCE_TYPE(window.get(), type)) return window.get();  // the list keeps it alive
    }
    throw std::runtime_error("a window does not open");
  }

  void shoot(const std::string& title, const std::string& name) { shoot(window(title), name); }

  void shoot(GtkWidget* shown, const std::string& name) {
    runUntil([shown] { return gtk_window_is_active(GTK_WINDOW(shown)); });
    const Screenshot warmUp(shown);  // the first drawing may come before the last layout
    Screenshot(shown).save((folder_ / (name + ".png")).string());
    std::printf("%s\n", (folder_ / (name + ".png")).c_str());
  }

  const std::filesystem::path folder_;
  TestUserInterface ui_;
};

void shootAll(Studio& studio) {
  for (const bool dark : {false, true}) {
    const std::string shade = dark ? "-dark" : "-light";
    const Look wide{"wide" + shade, 960, 540, dark};
    const Look narrow{"narrow" + shade, 360, 480, dark};
    for (const Look& look : {wide, narrow}) {
      studio.preview(look);
      studio.waiting(look, 0);
      studio.waiting(look, EBUSY);
      studio.warning(look, false);
      studio.warning(look, true);
    }
    studio.preferences(wide);
    studio.preferencesWithoutCamera(wide);
    studio.refusedFolder(wide);
  }
  studio.preview({"close-at-left", 640, 480, false, false, false, "close,minimize:"});
  studio.preview({"right-to-left", 640, 480, false, true, false});
  studio.preferences({.name = "right-to-left", .rightToLeft = true});
  studio.preferences({.name = "long", .longTexts = true});
  for (const double scale : {1.5, 2.0}) {
    const Look large{
        .name = "large-" + std::to_string(int(scale * 100)), .width = 960, .height = 540, .fontScale = scale};
    studio.preview(large);
    studio.warning(large, true);
    studio.preferences(large);
  }
}

void shootLanguage(Studio& studio, const std::string& language) {
  const bool rightToLeft = language == "ar";
  for (const Look& look : {Look{"wide-" + language, 960, 540, false, rightToLeft},
                           Look{"narrow-" + language, 360, 560, true, rightToLeft}}) {
    studio.preview(look);
    studio.warning(look, false);
    studio.warning(look, true);
    studio.preferences(look);
    studio.preferencesWithoutCamera(look);
    studio.refusedFolder(look);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "Usage: ui_screenshots FOLDER LOCALE-FOLDER [LANGUAGE]\n");
    return 64;
  }
  try {
    const std::filesystem::path folder = argv[1];
    std::filesystem::create_directories(folder);
    bindtextdomain("quillo-camera-shot", argv[2]);
    bind_textdomain_codeset("quillo-camera-shot", "UTF-8");
    const std::string language = argc > 3 ? argv[3] : "";
    g_setenv("LANGUAGE", language.empty() ? "en" : language.c_str(), TRUE);
    Studio studio(folder);
    if (language.empty())
      shootAll(studio);
    else
      shootLanguage(studio, language);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "screenshots: %s\n", error.what());
    return 1;
  }
}
