// The module as the program uses it: loaded by its file, on X11, on Wayland or without a display.
#include <cstdlib>

#include <glib.h>
#include <gtest/gtest.h>

#include "platform/linux/photo/Layer.h"
#include "platform/linux/ui/GraphicsProcessor.h"
#include "platform/linux/ui/UserInterfaceModule.h"
#include "tests/ui/support/FakeCameraLayer.h"

namespace {

// As the program does first of all.
const platform_linux::ToolkitWithoutGraphicsProcessor kToolkitSettings;

using platform_linux::UserInterfaceHost;

class RecordingDelegate : public platform::NSWindowDelegate {
 public:
  void windowDidChangeOcclusionState() override { ++changes; }
  int changes = 0;
};

bool hasDisplay() {
  return std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY");
}

UserInterfaceHost host() {
  return {.applicationId = "com.verrano.quillo.CameraShot",
          .stateFolder = testing::TempDir(),
          .lastWindowClosed = [] {},
          .quit = [] {},
          .takeActivationToken = [] { return std::string(); },
          .displayLost = [] {},
          .portalAnswers = [] { return true; }};
}

platform::NSActions actions() {
  platform::NSActions all;
  for (const char* name : {"shootButtonPressed", "closeButtonPressed", "preferencesButtonPressed",
                           "onVideoSelect", "onPreviewChanged", "onOutputLocationChanged", "onDoneClicked"})
    all[name] = [] {};
  return all;
}

bool runUntil(const std::function<bool()>& done) {
  constexpr guint kSeconds = 10;
  bool isOver = false;
  const guint bound = g_timeout_add_seconds(
      kSeconds,
      [](gpointer data) noexcept -> gboolean {
        *static_cast<bool*>(data) = true;
        return G_SOURCE_CONTINUE;
      },
      &isOver);
  while (!done() && !isOver)
    g_main_context_iteration(nullptr, TRUE);
  g_source_remove(bound);
  return done();
}

TEST(Module, ThatIsNotThereIsToldWithItsPath) {
  std::string whyNot;
  EXPECT_FALSE(platform_linux::loadUserInterface("/no/such/module.so", host(), whyNot));
  EXPECT_NE(whyNot.find("/no/such/module.so"), std::string::npos) << whyNot;
}

TEST(Module, LiesBesideTheProgramsLibraries) {
  EXPECT_TRUE(
      platform_linux::userInterfaceModulePath().ends_with("/quillo-camera-shot/libquillo-camera-shot-ui.so"));
}

TEST(Module, ShowsItsWindows) {
  std::string whyNot;
  const auto ui = platform_linux::loadUserInterface(CAMERA_SHOT_UI_MODULE, host(), whyNot);
  if (!hasDisplay()) {
    EXPECT_FALSE(ui);
    EXPECT_NE(whyNot.find("display"), std::string::npos) << whyNot;
    return;
  }
  ASSERT_TRUE(ui) << whyNot;
  for (const auto* name : {"PreviewWindowController", "PreferencesWindowController"}) {
    const auto nib = ui->loadNibNamed(name, actions());
    ASSERT_TRUE(nib) << name;
    const auto delegate = std::make_shared<RecordingDelegate>();
    nib->window()->setDelegate(delegate);
    // A layer of the program's own making: kinds are told apart across the module's border.
    const auto camera = std::make_shared<ui_test::FakeCameraLayer>();
    if (const auto view = nib->view("captureView")) view->setLayer(camera);
    nib->window()->makeKeyAndOrderFront();
    EXPECT_TRUE(runUntil([&] { return delegate->changes == 1; }));
    EXPECT_TRUE(nib->window()->isVisible());
    EXPECT_EQ(camera->isListenedTo(), nib->view("captureView") != nullptr);
    nib->window()->orderOut();
    EXPECT_TRUE(runUntil([&] { return delegate->changes == 2; }));
    EXPECT_FALSE(nib->window()->isVisible());
    EXPECT_FALSE(camera->isListenedTo());
  }
}

}  // namespace
