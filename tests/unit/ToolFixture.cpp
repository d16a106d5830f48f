#include "tests/unit/ToolFixture.h"

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

}  // namespace camera_shot
