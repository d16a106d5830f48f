#pragma once

#include <memory>
#include <string>
#include <vector>

#include "app/AppDelegate.h"
#include "tests/fakes/FakePlatform.h"

namespace camera_shot {

/// How a test's run starts.
struct ToolSetUp {
  bool showPreview = true;
  std::vector<std::string> cameras{"Desk camera"};
  platform::AVAuthorizationStatus authorization = platform::AVAuthorizationStatus::Authorized;
  int instances = 1;
};

/// The whole tool over fakes: launched like the real one, moved on by a manual clock, read in one journal.
struct ToolFixture : fakes::FakePlatform {
  explicit ToolFixture(const ToolSetUp& setUp = {});

  /// Everything up to the end of the launch; nothing that was put off has run yet.
  void launch(const platform::NSApplicationLaunchNotification& notification = {});
  AppController& controller() { return *delegate.controller(); }

  /// A camera appears or goes, and the platform says so.
  void plug(const std::string& name);
  void unplug(const std::string& name);
  /// The camera answers the oldest pending request.
  void deliverPhoto(const std::string& name = "photo");
  void failPhoto(std::int64_t code = 5) { avFoundation.output().fail(code); }

  fakes::FakeLayout& previewLayout() { return appKit.layout("PreviewWindowController"); }
  fakes::FakeLayout& preferencesLayout() { return appKit.layout("PreferencesWindowController"); }

  AppDelegate delegate{platform, suite};
};

/// The identity of a camera of that name.
inline std::string idOf(const std::string& name) {
  return "id of " + name;
}

}  // namespace camera_shot
