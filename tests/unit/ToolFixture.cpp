#include "tests/unit/ToolFixture.h"

#include <algorithm>

namespace camera_shot {

ToolFixture::ToolFixture(const ToolSetUp& setUp) {
  defaults.values["ShowPreview"] = setUp.showPreview ? "true" : "false";
  avFoundation.authorization = setUp.authorization;
  avFoundation.nextConnections = {std::make_shared<fakes::FakeConnection>(journal, "photo connection")};
  application.instances = setUp.instances;
  application.delegate = &delegate;
  for (const auto& name : setUp.cameras)
    avFoundation.devices.push_back(std::make_shared<fakes::FakeDevice>(idOf(name), name));
}

void ToolFixture::launch(const platform::NSApplicationLaunchNotification& notification) {
  delegate.applicationWillFinishLaunching();
  delegate.applicationDidFinishLaunching(notification);
}

void ToolFixture::launchByClickOn(const std::string& path) {
  launch({clickOn(path)});
}

void ToolFixture::launchForPreferences() {
  delegate.applicationWillFinishLaunching();
  openPreferences();
  delegate.applicationDidFinishLaunching({});
}

void ToolFixture::plug(const std::string& name) {
  avFoundation.devices.push_back(std::make_shared<fakes::FakeDevice>(idOf(name), name));
  center.postNotificationName(platform::AVCaptureDeviceWasConnectedNotification);
}

void ToolFixture::unplug(const std::string& name) {
  std::erase_if(avFoundation.devices, [&](const auto& device) { return device->localizedName() == name; });
  center.postNotificationName(platform::AVCaptureDeviceWasDisconnectedNotification);
}

void ToolFixture::deliverPhoto(const std::string& name) {
  avFoundation.output().deliver(
      std::make_shared<fakes::FakePhoto>(std::make_shared<fakes::FakeData>(journal, files, name)));
}

void ToolFixture::savePhoto(const std::string& name) {
  deliverPhoto(name);
  loop.run();
}

void ToolFixture::failShot() {
  failPhoto();
  failPhoto();
}

void ToolFixture::answerAccess(platform::AVAuthorizationStatus answer) {
  avFoundation.authorization = answer;
  for (const auto& completion : std::exchange(avFoundation.accessRequests, {}))
    completion(answer == platform::AVAuthorizationStatus::Authorized);
  loop.runTurn();
}

void ToolFixture::switchPreview(bool on) {
  preferencesLayout().view("previewSetting").currentState = on ? 1 : 0;
  preferencesLayout().press("onPreviewChanged");
}

void ToolFixture::chooseCamera(int index) {
  preferencesLayout().view("videoSource").selected = index;
  preferencesLayout().press("onVideoSelect");
}

void ToolFixture::closeWindow(const std::string& name) {
  appKit.layout(name).window->close();
  if (!appKit.hasWindows() && delegate.applicationShouldTerminateAfterLastWindowClosed())
    application.terminate();
}

void ToolFixture::startAgain() {
  const bool hasWindows = appKit.hasWindows();
  appKit.activate();
  delegate.applicationShouldHandleReopen(hasWindows);
}

bool ToolFixture::isVisible(const std::string& window) const {
  const auto found = appKit.layouts.find(window);
  return found != appKit.layouts.end() && found->second->window->isVisible();
}

std::string usageEvent(const std::string& name, bool showPreview, const std::string& details) {
  return "event \"event\":\"" + name + "\",\"prefs\":{\"ShowPreview\":" + (showPreview ? "true" : "false") +
         "},\"details\":" + details + "}";
}

platform::UNNotificationResponse clickOn(const std::string& path, const std::string& action) {
  platform::UNNotificationResponse response;
  response.actionIdentifier = action;
  if (!path.empty()) response.notification.request.content.userInfo = {{"Path", path}};
  return response;
}

}  // namespace camera_shot
