#include "tests/fakes/FakeAVFoundation.h"

#include <cerrno>

namespace fakes {

std::vector<std::shared_ptr<platform::AVCaptureConnection>> FakePhotoOutput::connections() const {
  const auto session = session_.lock();
  if (!session || !session->hasInput) return {};
  return {allConnections.begin(), allConnections.end()};
}

bool FakePhotoOutput::isRunning() const {
  const auto session = session_.lock();
  return session && session->running;
}

std::string FakePhotoOutput::cameraID() const {
  const auto session = session_.lock();
  return session ? session->cameraID : "";
}

void FakePhotoOutput::capturePhotoWithSettings(
    const platform::AVCapturePhotoSettings& settings,
    std::shared_ptr<platform::AVCapturePhotoCaptureDelegate> delegate) {
  std::string line = "output capture";
  for (const auto& [key, value] : settings.format)
    line.append(" ").append(key).append("=").append(value);
  journal_.add(line);
  const std::scoped_lock lock(mutex_);
  delegates_.push_back(std::move(delegate));
}

void FakePhotoOutput::answer(std::shared_ptr<platform::AVCapturePhoto> photo,
                             const std::optional<platform::NSError>& error) {
  std::shared_ptr<platform::AVCapturePhotoCaptureDelegate> delegate;
  {
    const std::scoped_lock lock(mutex_);
    delegate = delegates_.front();
    delegates_.erase(delegates_.begin());
  }
  delegate->captureOutputDidFinishProcessingPhoto(*this, std::move(photo), error);
}

void FakePhotoOutput::forgetRequests() {
  decltype(delegates_) unanswered;
  const std::scoped_lock lock(mutex_);
  unanswered.swap(delegates_);
}

FakeAVFoundation::~FakeAVFoundation() {
  for (const auto& output : outputs)
    output->forgetRequests();
}

std::vector<std::shared_ptr<platform::AVCaptureDevice>> FakeAVFoundation::devicesWithMediaType(
    const std::string& mediaType) {
  journal_.add("cameras listed");
  if (mediaType != platform::AVMediaTypeVideo) return {};
  return {devices.begin(), devices.end()};
}

std::shared_ptr<platform::AVCaptureDevice> FakeAVFoundation::deviceWithUniqueID(const std::string& uniqueID) {
  if (unknown.contains(uniqueID)) return nullptr;
  for (const auto& device : devices)
    if (device->uniqueID() == uniqueID) return device;
  return nullptr;
}

void FakeAVFoundation::requestAccessForMediaType(const std::string&,
                                                 std::function<void(bool granted)> completion) {
  journal_.add("access requested");
  accessRequests.push_back(std::move(completion));
}

std::shared_ptr<platform::AVCaptureDeviceInput> FakeAVFoundation::deviceInputWithDevice(
    const std::shared_ptr<platform::AVCaptureDevice>& device, std::optional<platform::NSError>& error) {
  journal_.add("input " + device->uniqueID());
  const bool isPresent = deviceWithUniqueID(device->uniqueID()) != nullptr;
  if (!inputFails && isPresent) return std::make_shared<FakeDeviceInput>(device->uniqueID());
  error = platform::NSError{ENODEV, "the camera is gone"};
  return nullptr;
}

std::shared_ptr<platform::AVCaptureSession> FakeAVFoundation::session() {
  sessions.push_back(std::make_shared<FakeSession>(journal_));
  return sessions.back();
}

std::shared_ptr<platform::AVCapturePhotoOutput> FakeAVFoundation::photoOutput() {
  auto made = std::make_shared<FakePhotoOutput>(journal_);
  made->allConnections =
      nextConnections.value_or(std::vector{std::make_shared<FakeConnection>(journal_, "photo connection")});
  outputs.push_back(made);
  return made;
}

std::shared_ptr<platform::AVCaptureVideoPreviewLayer> FakeAVFoundation::previewLayerWithSession(
    const std::shared_ptr<platform::AVCaptureSession>&) {
  if (nextLayerIsMissing) return nullptr;
  auto layer = std::make_shared<FakePreviewLayer>(journal_, "preview");
  layer->previewConnection = std::make_shared<FakeConnection>(journal_, "preview connection");
  layers.push_back(layer);
  return layer;
}

}  // namespace fakes
