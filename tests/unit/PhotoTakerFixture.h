#pragma once

#include <memory>
#include <string>

#include "capture/PhotoTaker.h"
#include "tests/unit/ToolFixture.h"

namespace camera_shot {

/// A photo taker on its own, on a camera that can mirror; what it calls back stands in the journal.
struct PhotoTakerFixture : fakes::FakePlatform {
  PhotoTakerFixture() {
    avFoundation.nextConnections = {connection};
    avFoundation.devices = {device};
  }

  /// Made late, so that a test can first say what the camera is like.
  PhotoTaker& taker() {
    if (!made)
      made = PhotoTaker::make(
          platform, suite, device, [this](const std::string& path) { journal.add("onSuccess " + path); },
          [this] { journal.add("onError"); });
    return *made;
  }
  fakes::FakePhotoOutput& output() { return avFoundation.output(); }
  std::shared_ptr<fakes::FakePhoto> photo(const std::string& name = "photo") {
    return std::make_shared<fakes::FakePhoto>(std::make_shared<fakes::FakeData>(journal, files, name));
  }
  /// One shot up to what it puts off until the next turn of the loop.
  void shoot() {
    taker().take();
    output().deliver(photo());
  }

  std::shared_ptr<fakes::FakeDevice> device = std::make_shared<fakes::FakeDevice>("desk", "Desk camera");
  std::shared_ptr<fakes::FakeConnection> connection =
      std::make_shared<fakes::FakeConnection>(journal, "photo connection");
  std::shared_ptr<PhotoTaker> made;
};

}  // namespace camera_shot
