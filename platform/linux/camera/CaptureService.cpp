#include "platform/linux/camera/CaptureService.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/linux/camera/CaptureFlow.h"

namespace platform_linux {

CaptureService::CaptureService(platform::MainQueue& mainQueue, std::shared_ptr<CameraList> list)
    : list_(std::move(list)), worker_(mainQueue) {
  loop_.post([this] { connection_.emplace(loop_, *this); });
}

CaptureService::~CaptureService() {
  shutDown();
}

void CaptureService::shutDown() {
  loop_.stop();
  for (const auto& flow : std::set(flows_))
    flow->abandon();
  registry_.reset();
  connection_.reset();
  worker_.stop();
}

void CaptureService::connect(Told told) {
  loop_.post([this, told = std::move(told)] {
    told_ = told;
    connection_->open();
  });
}

void CaptureService::connectThrough(std::function<void()> askForSocket, Told told) {
  loop_.post([this, askForSocket = std::move(askForSocket), told = std::move(told)] {
    told_ = told;
    connection_->openThrough(askForSocket);
  });
}

void CaptureService::connectTo(FileDescriptor socket) {
  const auto shared = std::make_shared<FileDescriptor>(std::move(socket));
  loop_.post([this, shared] { connection_->connectTo(std::move(*shared)); });
}

const Camera* CaptureService::find(const Camera& camera) const {
  const auto same = std::find_if(cameras_.begin(), cameras_.end(), [&](auto& each) {
    return each.serial == camera.serial && each.name == camera.name;
  });
  if (same != cameras_.end()) return &*same;
  const auto replugged =
      std::find_if(cameras_.begin(), cameras_.end(), [&](auto& each) { return each.name == camera.name; });
  return replugged != cameras_.end() ? &*replugged : nullptr;
}

void CaptureService::connected() {
  registry_.emplace(*connection_, *this);
}

void CaptureService::disconnected() {
  for (const auto& flow : std::set(flows_))
    flow->fail(EPIPE);
  registry_.reset();
  cameras_.clear();
  tellCameras();
}

void CaptureService::synced(int sequence) {
  if (registry_) registry_->synced(sequence);
}

void CaptureService::camerasChanged(std::vector<Camera> cameras) {
  cameras_ = std::move(cameras);
  for (const auto& flow : std::set(flows_))
    if (!isPresent(flow->runningSerial())) flow->fail(ENODEV);
  tellCameras();
}

void CaptureService::tellCameras() {
  list_->update(cameras_);
  if (told_) told_(!cameras_.empty());
}

void CaptureService::cameraFailed(std::uint64_t serial, int error) {
  for (const auto& flow : std::set(flows_))
    if (flow->runningSerial() == serial) flow->fail(error);
}

bool CaptureService::isPresent(std::uint64_t serial) const {
  return std::any_of(cameras_.begin(), cameras_.end(), [&](auto& each) { return each.serial == serial; });
}

}  // namespace platform_linux
