#include "platform/linux/camera/pipewire/PortalCameraAccess.h"

#include <utility>

#include "platform/linux/camera/CameraList.h"
#include "platform/linux/camera/CaptureService.h"

namespace platform_linux {

using platform::AVAuthorizationStatus;

PortalCameraAccess::PortalCameraAccess(platform::MainQueue& mainQueue, std::shared_ptr<CameraPortal> portal,
                                       const std::shared_ptr<CaptureService>& service)
    : mainQueue_(mainQueue), portal_(std::move(portal)), service_(service) {}

AVAuthorizationStatus PortalCameraAccess::status() const {
  switch (state_) {
    case State::kGranted:
      return AVAuthorizationStatus::Authorized;
    case State::kRefused:
      return AVAuthorizationStatus::Denied;
    case State::kWithoutPortal:
      return withoutPortal_.status();
    case State::kUnasked:
    case State::kAsked:
      break;
  }
  return AVAuthorizationStatus::NotDetermined;
}

bool PortalCameraAccess::hidesCamera() const {
  return status() != AVAuthorizationStatus::Authorized && portal_->isCameraPresent();
}

void PortalCameraAccess::request(std::function<void(bool granted)> completion) {
  if (status() != AVAuthorizationStatus::NotDetermined)
    return completion(status() == AVAuthorizationStatus::Authorized);
  completion_ = std::move(completion);
  ask();
}

void PortalCameraAccess::ask() {
  if (state_ != State::kUnasked) return;
  state_ = State::kAsked;
  portal_->ask([weakSelf = weak_from_this()](CameraPortal::Answer answer) {
    if (const auto self = weakSelf.lock()) self->onAnswer(answer);
  });
}

void PortalCameraAccess::onAnswer(CameraPortal::Answer answer) {
  const auto service = service_.lock();
  if (!service) return;
  switch (answer) {
    case CameraPortal::Answer::kGranted:
      return connectThroughPortal();
    case CameraPortal::Answer::kRefused:
      return settle(State::kRefused);
    case CameraPortal::Answer::kNoPortal:
      return service->connect(settleLater(State::kWithoutPortal));
  }
}

void PortalCameraAccess::connectThroughPortal() {
  const auto askForSocket = [weakSelf = weak_from_this(), &mainQueue = mainQueue_] {
    mainQueue.async([weakSelf] {
      if (const auto self = weakSelf.lock()) self->openRemote();
    });
  };
  service_.lock()->connectThrough(askForSocket, settleLater(State::kGranted));
}

void PortalCameraAccess::openRemote() {
  portal_->openRemote([weakService = service_](FileDescriptor socket) {
    if (const auto service = weakService.lock()) service->connectTo(std::move(socket));
  });
}

std::function<void(bool)> PortalCameraAccess::settleLater(State state) {
  mainQueue_.after(kFirstEnumeration, [weakSelf = weak_from_this(), state] {
    if (const auto self = weakSelf.lock()) self->settle(state);
  });
  return [&mainQueue = mainQueue_, weakSelf = weak_from_this(), state](bool areThereCameras) {
    mainQueue.async([weakSelf, state, areThereCameras] {
      const auto self = weakSelf.lock();
      // The session manager opens the cameras to the new socket some time after that has been opened: none
      // may mean not yet.
      if (self && (areThereCameras || !self->portal_->isCameraPresent())) self->settle(state);
    });
  };
}

void PortalCameraAccess::settle(State state) {
  if (state_ != State::kAsked) return;
  state_ = state;
  if (const auto completion = std::exchange(completion_, nullptr))
    completion(status() == AVAuthorizationStatus::Authorized);
}

}  // namespace platform_linux
