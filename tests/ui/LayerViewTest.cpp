// Layers as they come out on the screen: pixels are looked at.
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/photo/PictureImage.h"
#include "platform/linux/ui/BackgroundView.h"
#include "platform/linux/ui/LayerView.h"
#include "platform/linux/ui/MainLoop.h"
#include "tests/ui/support/FakeCameraLayer.h"
#include "tests/ui/support/TestWindows.h"

namespace {

using namespace platform_linux;  // NOLINT(google-build-using-namespace)
using namespace ui_test;         // NOLINT(google-build-using-namespace)

constexpr Rgb kBlack{0, 0, 0};
constexpr Rgb kWhite{255, 255, 255};

MATCHER_P(Shows, color, "") {
  constexpr int kTolerance = 8;  // JPEG and rounding
  *result_listener << "red " << arg.red << ", green " << arg.green << ", blue " << arg.blue;
  return std::abs(arg.red - color.red) <= kTolerance && std::abs(arg.green - color.green) <= kTolerance &&
         std::abs(arg.blue - color.blue) <= kTolerance;
}

Rgb white(double, double) {
  return kWhite;
}

class LayerViewTest : public testing::Test {
 public:
  LayerViewTest() {
    window_ = GTK_WINDOW(gtk_window_new());
    gtk_window_set_decorated(window_, FALSE);
    view_ = GTK_WIDGET(g_object_new(layerViewType(), "width-request", 400, "height-request", 200, nullptr));
    gtk_window_set_child(window_, view_);
    painterOf(view_).setDecodeThread(decodeThread_);
  }

  ~LayerViewTest() override { gtk_window_destroy(window_); }

 protected:
  void show(std::shared_ptr<Layer> layer) {
    painterOf(view_).setLayer(std::move(layer));
    gtk_window_present(window_);
    ASSERT_TRUE(runUntil([this] { return gtk_window_is_active(window_); }));
  }

  /// Drawings until one of them looks as wanted, or none has for long enough.
  bool looks(const std::function<bool(const Screenshot&)>& wanted) {
    for (int i = 0; i < 300; ++i)
      if (wanted(Screenshot(gtk_window_get_child(window_)))) return true;
    return false;
  }

  bool showsAt(double x, double y, const Rgb& color) {
    return looks([&](const Screenshot& shot) { return testing::Value(shot.at(x, y), Shows(color)); });
  }

  /// Puts a photo over the live picture.
  static std::shared_ptr<Layer> addStill(FakeCameraLayer& camera, std::shared_ptr<const picture::Frame> frame,
                                         bool mirrored, const platform::CGRect& place) {
    auto still = std::make_shared<Layer>();
    still->setContents(std::make_shared<PictureImage>(photoOf(std::move(frame), mirrored)));
    still->setFrame(place);
    camera.addSublayer(still);
    return still;
  }

  std::uint64_t decoded() {
    bool flushed = false;
    decodeThread_.post([&flushed] { postToMainLoop([&flushed] { flushed = true; }); });
    EXPECT_TRUE(runUntil([&flushed] { return flushed; }));
    return decodeThread_.startedJobs() - ++flushes_;
  }

  TestUserInterface ui_;
  Worker decodeThread_;
  std::uint64_t flushes_ = 0;
  GtkWindow* window_;
  GtkWidget* view_;
};

TEST_F(LayerViewTest, MirrorsTheLivePicture) {
  const auto camera = std::make_shared<FakeCameraLayer>(true);
  show(camera);
  camera->deliver(jpegFrame(400, 200, redLeftBlueRight));
  ASSERT_TRUE(showsAt(0.9, 0.5, kRed));
  const Screenshot shot(view_);
  EXPECT_THAT(shot.at(0.1, 0.5), Shows(kBlue));
  EXPECT_THAT(shot.at(0.5, 0.5), Shows(kGrey));
}

TEST_F(LayerViewTest, ShowsItUnmirroredWhereTheCameraSaysSo) {
  const auto camera = std::make_shared<FakeCameraLayer>(false);
  show(camera);
  camera->deliver(jpegFrame(400, 200, redLeftBlueRight));
  ASSERT_TRUE(showsAt(0.1, 0.5, kRed));
  EXPECT_THAT(Screenshot(view_).at(0.9, 0.5), Shows(kBlue));
}

TEST_F(LayerViewTest, FitsThePictureOnBlack) {
  const auto camera = std::make_shared<FakeCameraLayer>();
  show(camera);
  camera->deliver(jpegFrame(200, 200, white));  // half as wide as the view
  ASSERT_TRUE(showsAt(0.5, 0.5, kWhite));
  const Screenshot shot(view_);
  EXPECT_THAT(shot.at(0.27, 0.5), Shows(kWhite));
  EXPECT_THAT(shot.at(0.73, 0.5), Shows(kWhite));
  EXPECT_THAT(shot.at(0.23, 0.5), Shows(kBlack));
  EXPECT_THAT(shot.at(0.77, 0.5), Shows(kBlack));
}

TEST_F(LayerViewTest, IsBlackBeforeTheFirstFrame) {
  show(std::make_shared<FakeCameraLayer>());
  EXPECT_THAT(Screenshot(view_).at(0.5, 0.5), Shows(kBlack));
}

TEST_F(LayerViewTest, SaysWhyThereIsNoPicture) {
  const auto status = [this] {
    char* text = nullptr;
    g_object_get(view_, "status", &text, nullptr);
    const std::string copy = text;
    g_free(text);
    return copy;
  };
  const auto camera = std::make_shared<FakeCameraLayer>();
  show(camera);
  EXPECT_EQ(status(), "Starting the camera…");
  camera->fail(EBUSY);
  EXPECT_TRUE(runUntil([&] { return status() == "The camera is in use by another program."; }));
  camera->fail(EIO);
  EXPECT_TRUE(runUntil([&] { return status() == "The camera sends no picture."; }));
  camera->deliver(jpegFrame(400, 200, white));
  EXPECT_TRUE(runUntil([&] { return status().empty(); }));
  gtk_widget_set_visible(GTK_WIDGET(window_), FALSE);
  gtk_window_present(window_);
  EXPECT_EQ(status(), "Starting the camera…") << "what was shown before is not shown again";
}

TEST_F(LayerViewTest, ShowsTheNewestFrame) {
  const auto camera = std::make_shared<FakeCameraLayer>(false);
  show(camera);
  const auto old = jpegFrame(400, 200, white);
  const auto newest = jpegFrame(400, 200, redLeftBlueRight);
  std::thread([&] {
    for (int i = 0; i < 50; ++i)
      camera->deliver(old);
    camera->deliver(newest);
  }).join();
  EXPECT_TRUE(showsAt(0.1, 0.5, kRed));
}

TEST_F(LayerViewTest, PutsAStillOnTopAndTakesItAwayAgain) {
  const auto camera = std::make_shared<FakeCameraLayer>(true);
  show(camera);
  camera->deliver(jpegFrame(400, 200, white));
  ASSERT_TRUE(showsAt(0.5, 0.5, kWhite));
  const auto still = addStill(*camera, jpegFrame(800, 400, redLeftBlueRight), true, camera->bounds());
  ASSERT_TRUE(showsAt(0.9, 0.5, kRed)) << "mirrored, as the photo is";
  still->removeFromSuperlayer();
  EXPECT_TRUE(showsAt(0.9, 0.5, kWhite));
}

TEST_F(LayerViewTest, AsksForNoFramesWhileAStillCoversTheLivePicture) {
  const auto camera = std::make_shared<FakeCameraLayer>(true);
  show(camera);
  camera->deliver(jpegFrame(400, 200, white));
  ASSERT_TRUE(showsAt(0.5, 0.5, kWhite));
  const auto still = addStill(*camera, jpegFrame(800, 400, redLeftBlueRight), true, camera->bounds());
  EXPECT_TRUE(camera->isListenedTo()) << "the still is not there yet";
  ASSERT_TRUE(showsAt(0.9, 0.5, kRed));
  EXPECT_FALSE(camera->isListenedTo());
  const Screenshot again(view_);
  EXPECT_FALSE(camera->isListenedTo()) << "drawing once more changes nothing";
  const auto before = decoded();
  camera->deliver(jpegFrame(400, 200, redLeftBlueRight));
  EXPECT_EQ(decoded(), before);
  camera->deliver(jpegFrame(400, 200, white));

  still->removeFromSuperlayer();
  EXPECT_TRUE(showsAt(0.9, 0.5, kWhite));
  EXPECT_TRUE(camera->isListenedTo());
}

TEST_F(LayerViewTest, GoesOnUnderAStillOfAnotherShapeOrPlace) {
  const auto camera = std::make_shared<FakeCameraLayer>(false);
  show(camera);
  camera->deliver(jpegFrame(400, 200, white));
  ASSERT_TRUE(showsAt(0.1, 0.5, kWhite));
  const auto square = addStill(*camera, jpegFrame(200, 200, redLeftBlueRight), false, camera->bounds());
  ASSERT_TRUE(showsAt(0.3, 0.5, kRed));
  EXPECT_TRUE(camera->isListenedTo()) << "it is seen on both sides of the square";
  square->removeFromSuperlayer();

  addStill(*camera, jpegFrame(400, 200, redLeftBlueRight), false, {0, 0, 200, 200});
  ASSERT_TRUE(showsAt(0.05, 0.5, kRed));
  EXPECT_TRUE(camera->isListenedTo()) << "it is seen beside the half";
}

TEST_F(LayerViewTest, TheRootLayerFollowsTheView) {
  const auto camera = std::make_shared<FakeCameraLayer>();
  show(camera);
  const Screenshot drawn(view_);
  EXPECT_EQ(camera->bounds(), (platform::CGRect{0, 0, 400, 200}));
}

TEST_F(LayerViewTest, DrawsBackgroundsAtTheirFrames) {
  const auto root = std::make_shared<Layer>();
  root->setBackgroundColor(platform::kBlackColor);
  const auto child = std::make_shared<Layer>();
  child->setBackgroundColor({1, 1, 1, 1});
  child->setFrame({200, 0, 100, 200});
  root->addSublayer(child);
  show(root);
  const Screenshot shot(view_);
  EXPECT_THAT(shot.at(0.45, 0.5), Shows(kBlack));
  EXPECT_THAT(shot.at(0.55, 0.5), Shows(kWhite));
  EXPECT_THAT(shot.at(0.70, 0.5), Shows(kWhite));
  EXPECT_THAT(shot.at(0.80, 0.5), Shows(kBlack));
}

TEST_F(LayerViewTest, ALayerTakenAwayIsNoLongerListenedTo) {
  const auto camera = std::make_shared<FakeCameraLayer>();
  show(camera);
  EXPECT_TRUE(camera->isListenedTo());
  painterOf(view_).setLayer(nullptr);
  EXPECT_FALSE(camera->isListenedTo());
}

TEST_F(LayerViewTest, DecodesNothingBeforeItIsOnTheScreen) {
  const auto camera = std::make_shared<FakeCameraLayer>();
  painterOf(view_).setLayer(camera);
  for (int i = 0; i < 20; ++i)
    camera->deliver(jpegFrame(64, 32, white));
  EXPECT_FALSE(camera->isListenedTo());
  EXPECT_EQ(decoded(), 0U);
}

TEST_F(LayerViewTest, DecodesNothingWhileTheWindowIsHiddenOrMinimised) {
  const auto camera = std::make_shared<FakeCameraLayer>();
  show(camera);
  camera->deliver(jpegFrame(400, 200, white));
  ASSERT_TRUE(showsAt(0.5, 0.5, kWhite));

  gtk_window_minimize(window_);
  ASSERT_TRUE(runUntil([&] { return !camera->isListenedTo(); }));
  const auto before = decoded();
  camera->deliver(jpegFrame(400, 200, redLeftBlueRight));
  EXPECT_EQ(decoded(), before);

  gtk_window_present(window_);
  ASSERT_TRUE(runUntil([&] { return camera->isListenedTo(); }));
  ASSERT_TRUE(showsAt(0.9, 0.5, kRed)) << "catches up";

  gtk_widget_set_visible(GTK_WIDGET(window_), FALSE);
  EXPECT_FALSE(camera->isListenedTo());
  const auto hidden = decoded();
  camera->deliver(jpegFrame(400, 200, white));
  EXPECT_EQ(decoded(), hidden);
}

TEST_F(LayerViewTest, FramesMayComeWhileItGoes) {
  const auto camera = std::make_shared<FakeCameraLayer>();
  const auto one = jpegFrame(64, 32, white);
  const auto other = jpegFrame(64, 32, white);
  std::atomic<bool> stop{false};
  std::thread frames([&] {
    for (bool odd = false; !stop; odd = !odd)
      camera->deliver(odd ? one : other);
  });
  show(camera);
  const bool running = runUntil([this] { return decodeThread_.startedJobs() > 3; });
  gtk_window_set_child(window_, nullptr);
  EXPECT_FALSE(camera->isListenedTo());
  stop = true;
  frames.join();
  EXPECT_TRUE(running) << "however many frames come, some are drawn";
  EXPECT_GT(decoded(), 3U) << "what was on its way has arrived nowhere";
}

TEST_F(LayerViewTest, BackgroundViewIsBlackToTheEdges) {
  GtkWidget* const background = GTK_WIDGET(g_object_new(backgroundViewType(), nullptr));
  gtk_window_set_child(window_, background);
  gtk_window_set_default_size(window_, 300, 150);
  gtk_window_present(window_);
  ASSERT_TRUE(runUntil([this] { return gtk_window_is_active(window_); }));
  for (const int width : {300, 420}) {
    gtk_widget_set_size_request(background, width, -1);
    ASSERT_TRUE(looks([&](const Screenshot&) { return gtk_widget_get_width(background) >= width; }));
    const Screenshot shot(background);
    for (const double x : {0.0, 0.5, 1.0})
      for (const double y : {0.0, 0.5, 1.0})
        EXPECT_THAT(shot.at(x, y), Shows(kBlack));
  }
}

TEST_F(LayerViewTest, OnABackgroundViewAllAroundThePictureIsBlack) {
  GtkWidget* const background = GTK_WIDGET(g_object_new(backgroundViewType(), nullptr));
  GtkWidget* const view = GTK_WIDGET(g_object_new(layerViewType(), nullptr));
  gtk_widget_set_parent(view, background);
  painterOf(view).setDecodeThread(decodeThread_);
  gtk_window_set_child(window_, background);
  gtk_window_set_default_size(window_, 400, 200);
  gtk_window_present(window_);
  const auto shows = [&](double x, const Rgb& color) {
    return looks([&](const Screenshot& shot) { return testing::Value(shot.at(x, 0.5), Shows(color)); });
  };
  EXPECT_TRUE(shows(0.5, kBlack)) << "without any picture";
  const auto camera = std::make_shared<FakeCameraLayer>();
  painterOf(view).setLayer(camera);
  camera->deliver(jpegFrame(200, 200, white));
  ASSERT_TRUE(shows(0.5, kWhite));
  EXPECT_TRUE(shows(0.1, kBlack));
  EXPECT_TRUE(shows(0.9, kBlack));
  gtk_window_set_child(window_, nullptr);
}

/// Draws as slowly as a busy machine without a graphics processor; the camera's next frame is there each
/// time.
class SlowDrawing {
 public:
  SlowDrawing(GtkWidget* view, std::shared_ptr<FakeCameraLayer> camera)
      : camera_(std::move(camera)),
        beforePaint_(gtk_widget_get_frame_clock(view), "before-paint",
                     [this] { camera_->deliver(jpegFrame(400, 200, redLeftBlueRight)); }),
        afterPaint_(gtk_widget_get_frame_clock(view), "after-paint", [this] { drawn(); }) {}

  int drawings = 0;

 private:
  void drawn() {
    ++drawings;
    constexpr std::chrono::milliseconds kSlowness{50};  // longer than the time between two frames of a screen
    const auto end = std::chrono::steady_clock::now() + kSlowness;
    while (std::chrono::steady_clock::now() < end) {
    }
  }

  const std::shared_ptr<FakeCameraLayer> camera_;
  const SignalConnection beforePaint_;
  const SignalConnection afterPaint_;
};

TEST_F(LayerViewTest, LeavesTimeForIdleWorkHoweverSlowDrawingIs) {
  const auto camera = std::make_shared<FakeCameraLayer>();
  show(camera);
  camera->deliver(jpegFrame(400, 200, redLeftBlueRight));
  ASSERT_TRUE(showsAt(0.9, 0.5, kRed));
  const SlowDrawing slow(view_, camera);
  gtk_widget_queue_draw(view_);
  ASSERT_TRUE(runUntil([&slow] { return slow.drawings >= 3; }));
  const int before = slow.drawings;
  bool done = false;
  g_idle_add(
      [](gpointer data) noexcept -> gboolean {
        *static_cast<bool*>(data) = true;
        return G_SOURCE_REMOVE;
      },
      &done);
  ASSERT_TRUE(runUntil([&done] { return done; }));
  EXPECT_LE(slow.drawings - before, 2);
}

}  // namespace
