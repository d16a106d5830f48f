#include "tests/camera/CameraFixture.h"

#include <algorithm>
#include <utility>

#include "platform/linux/camera/CaptureSession.h"
#include "platform/linux/camera/pipewire/PipeWireFrameSource.h"
#include "tests/support/MainLoop.h"

namespace camera_test {

void RecordingDelegate::captureOutputDidFinishProcessingPhoto(platform::AVCapturePhotoOutput&,
                                                              std::shared_ptr<platform::AVCapturePhoto> photo,
                                                              const std::optional<platform::NSError>& error) {
  if (atOutcome) atOutcome();
  Outcome outcome;
  outcome.error = error ? error->code : 0;
  outcome.onMainThread = std::this_thread::get_id() == mainThread_;
  if (photo)
    outcome.picture =
        std::dynamic_pointer_cast<const platform_linux::PictureData>(photo->fileDataRepresentation());
  {
    const std::scoped_lock lock(mutex_);
    outcomes_.push_back(std::move(outcome));
  }
  mainQueue_.async([] {});
}

std::vector<Outcome> RecordingDelegate::outcomes() const {
  const std::scoped_lock lock(mutex_);
  return outcomes_;
}

void Rig::capture() const {
  output->capturePhotoWithSettings(platform::AVCapturePhotoSettings::photoSettingsWithFormat(
                                       {{platform::AVVideoCodecKey, platform::AVVideoCodecTypeJPEG}}),
                                   delegate);
}

std::uint64_t Rig::copied() const {
  return std::static_pointer_cast<platform_linux::CaptureSession>(session)->flow()->counts().copied;
}

std::unique_ptr<platform_linux::Cameras> camerasOfTheDaemon(platform::MainQueue& queue,
                                                            platform::NSNotificationCenter& center,
                                                            platform::NSLog& log) {
  return std::make_unique<platform_linux::Cameras>(
      queue, center, log, std::make_shared<platform_linux::PipeWireFrameSource>(),
      [] { return std::string(); }, test_support::kPatience);
}

CameraFixture::~CameraFixture() {
  end();
  removeCameras();
}

void CameraFixture::start() {
  cameras_ = camerasOfTheDaemon(loop_, center_, log_);
  const auto record = [this](const std::string& what) {
    std::string line = what + ":";
    for (const auto& name : names())
      line += " " + name;
    news_.push_back(line);
  };
  center_.addObserver(this, platform::AVCaptureDeviceWasConnectedNotification, [=] { record("connected"); });
  center_.addObserver(this, platform::AVCaptureDeviceWasDisconnectedNotification,
                      [=] { record("disconnected"); });
}

void CameraFixture::end() {
  loop_.end();
  cameras_.reset();
}

void CameraFixture::turnUntil(const std::function<bool()>& condition) {
  loop_.run();
  while (!condition())
    if (!loop_.runWhenWorkArrives()) {
      ADD_FAILURE() << "nothing happened for thirty seconds";
      return;
    }
}

std::vector<std::string> CameraFixture::names() {
  std::vector<std::string> names;
  for (const auto& each : cameras_->devicesWithMediaType(platform::AVMediaTypeVideo))
    names.push_back(each->uniqueID());
  return names;
}

void CameraFixture::awaitNews(std::size_t count) {
  turnUntil([&] { return news_.size() >= count; });
}

std::shared_ptr<platform::AVCaptureDevice> CameraFixture::device(const std::string& name) {
  auto found = cameras_->deviceWithUniqueID(name);
  EXPECT_NE(found, nullptr) << "no camera " << name;
  return found;
}

Rig CameraFixture::rig(const std::shared_ptr<platform::AVCaptureDevice>& device) {
  Rig rig;
  std::optional<platform::NSError> error;
  rig.session = cameras_->session();
  rig.session->setSessionPreset(platform::AVCaptureSessionPresetHigh);
  rig.session->addInput(cameras_->deviceInputWithDevice(device, error));
  rig.output = cameras_->photoOutput();
  rig.session->addOutput(rig.output);
  rig.layer = cameras_->previewLayerWithSession(rig.session);
  rig.delegate = std::make_shared<RecordingDelegate>(loop_);
  return rig;
}

Rig CameraFixture::runningRig(const std::string& name) {
  Rig running = rig(device(name));
  running.session->startRunning();
  return running;
}

void CameraFixture::awaitOutcomes(const Rig& rig, std::size_t count) {
  turnUntil([&] { return rig.delegate->outcomes().size() >= count; });
}

Outcome CameraFixture::take(const Rig& rig) {
  const std::size_t before = rig.delegate->outcomes().size();
  rig.capture();
  awaitOutcomes(rig, before + 1);
  const auto outcomes = rig.delegate->outcomes();
  return outcomes.size() > before ? outcomes[before] : Outcome{};
}

}  // namespace camera_test
