// What the windows draw is there on every system, also on one without a loader for SVG.
#include <array>

#include <adwaita.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/ui/support/TestWindows.h"

namespace {

using namespace ui_test;  // NOLINT(google-build-using-namespace)

class DrawingsTest : public testing::TestWithParam<const char*> {
 protected:
  DrawingsTest() {
    // Symbols are white there, so that they are brighter than nothing.
    adw_style_manager_set_color_scheme(adw_style_manager_get_default(), ADW_COLOR_SCHEME_FORCE_DARK);
    image_ = gtk_image_new();
    gtk_image_set_pixel_size(GTK_IMAGE(image_), 48);
    gtk_window_set_child(window_, image_);
    gtk_window_present(window_);
  }

  ~DrawingsTest() override {
    gtk_window_destroy(window_);
    adw_style_manager_set_color_scheme(adw_style_manager_get_default(), ADW_COLOR_SCHEME_DEFAULT);
  }

  /// A grid of its brightness.
  std::vector<int> drawingOf(const char* name) {
    gtk_image_set_from_icon_name(GTK_IMAGE(image_), name);
    const Screenshot shot(image_);
    std::vector<int> grid;
    constexpr int kSide = 24;
    for (int y = 0; y < kSide; ++y)
      for (int x = 0; x < kSide; ++x)
        grid.push_back(shot.at((x + 0.5) / kSide, (y + 0.5) / kSide).red);
    return grid;
  }

  TestUserInterface ui_;
  GtkWindow* const window_ = GTK_WINDOW(gtk_window_new());
  GtkWidget* image_;
};

TEST_P(DrawingsTest, IsThere) {
  const auto drawing = drawingOf(GetParam());
  EXPECT_NE(drawing, drawingOf("no-such-drawing")) << "broken";
  EXPECT_THAT(drawing, testing::Contains(testing::Ne(drawing.front()))) << "empty";
}

INSTANTIATE_TEST_SUITE_P(Ours, DrawingsTest, testing::Values("TakePhoto", "TakePhotoPressed", "CameraOff"));

INSTANTIATE_TEST_SUITE_P(OfTheToolkit, DrawingsTest,
                         testing::Values("emblem-system-symbolic", "window-close-symbolic",
                                         "window-minimize-symbolic", "window-maximize-symbolic",
                                         "folder-symbolic", "pan-down-symbolic", "object-select-symbolic"));

}  // namespace
