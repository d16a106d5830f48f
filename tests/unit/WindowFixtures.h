#pragma once

#include <memory>
#include <string>
#include <vector>

#include "preferences/PreferencesWindowController.h"
#include "preview/PreviewWindowController.h"
#include "tests/unit/ToolFixture.h"

namespace camera_shot {

/// The preferences on their own; made late, so that a test can first say what is stored and which cameras
/// there are.
struct PreferencesFixture : fakes::FakePlatform {
  explicit PreferencesFixture(const std::vector<std::string>& cameras = {}) {
    for (const auto& name : cameras)
      addCamera(name, idOf(name));
  }

  void addCamera(const std::string& name, const std::string& id) {
    avFoundation.devices.push_back(std::make_shared<fakes::FakeDevice>(id, name));
  }
  PreferencesWindowController& preferences() {
    if (!made)
      made = PreferencesWindowController::make(platform, suite, kPreferencesWindow, {},
                                               [this] { journal.add("onPrefChanged"); });
    return *made;
  }
  /// Loads the window if need be.
  fakes::FakeLayout& layout() {
    preferences().window();
    return appKit.layout(kPreferencesWindow);
  }
  fakes::FakeView& popup() { return layout().view("videoSource"); }
  std::string chosenID() {
    const auto camera = preferences().videoCaptureDevice();
    return camera ? camera->uniqueID() : "none";
  }
  void switchPreview(int state) {
    layout().view("previewSetting").currentState = state;
    layout().press("onPreviewChanged");
  }

  std::shared_ptr<PreferencesWindowController> made;
};

/// The preview window on its own; what it reports upward stands in the journal.
struct PreviewFixture : fakes::FakePlatform {
  PreviewWindowController& preview() { return *made; }
  /// Loads the window if need be.
  fakes::FakeLayout& layout() {
    made->window();
    return appKit.layout(kPreviewWindow);
  }
  std::shared_ptr<fakes::FakePreviewLayer> layer() {
    auto live = std::make_shared<fakes::FakePreviewLayer>(journal, "preview");
    live->previewConnection = std::make_shared<fakes::FakeConnection>(journal, "preview connection");
    return live;
  }

  std::shared_ptr<fakes::FakeDevice> camera = std::make_shared<fakes::FakeDevice>("desk", "Desk camera");
  std::shared_ptr<PreviewWindowController> made =
      PreviewWindowController::make(platform, kPreviewWindow,
                                    {.onTake = [this] { journal.add("onTake"); },
                                     .onStartPreview = [this] { journal.add("onStartPreview"); },
                                     .onStopPreview = [this] { journal.add("onStopPreview"); },
                                     .onQuit = [this] { journal.add("onQuit"); }});
};

}  // namespace camera_shot
