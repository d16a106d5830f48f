#include "platform/linux/camera/pipewire/PortalAccess.h"

#include <utility>

#include "platform/linux/camera/pipewire/PipeWireFrameSource.h"

namespace platform_linux {

using platform::AVAuthorizationStatus;

PortalAccess::PortalAccess(platform::MainQueue& mainQueue, std::shared_ptr<CameraPortal> portal,
                           std::weak_ptr<PipeWireFrameSource> source, std::chrono::milliseconds patience)
    : mainQueue_(mainQueue), portal_(std::move(portal)), source_(std::move(source)), patience_(patience) {}

AVAuthorizationStatus PortalAccess::status() const {
  switch (state_) {
    case State::Granted:
      return AVAuthorizationStatus::Authorized;
    case State::Refused:
      return AVAuthorizationStatus::Denied;
    case State::WithoutPortal:
      return withoutPortal_.status();
    case State::Unasked:
    case State::Asked:
      break;
  }
  return AVAuthorizationStatus::NotDetermined;
}

bool PortalAccess::hidesCamera() const {
  return status() != AVAuthorizationStatus::Authorized && portal_->isCameraPresent();
}

void PortalAccess::request(std::function<void(bool granted)> completion) {
  if (status() != AVAuthorizationStatus::NotDetermined)
    return completion(status() == AVAuthorizationStatus::Authorized);
  completion_ = std::move(completion);
  ask();
}

void PortalAccess::ask() {
  if (state_ != State::Unasked) return;
  state_ = State::Asked;
  portal_->ask([weakSelf = weak_from_this()](CameraPortal::Answer answer) {
    if (const auto self = weakSelf.lock()) self->onAnswer(answer);
  });
}

void PortalAccess::onAnswer(CameraPortal::Answer answer) {
  const auto source = source_.lock();
  if (!source) return;
  switch (answer) {
    case CameraPortal::Answer::Granted:
      return connectThroughPortal();
    case CameraPortal::Answer::Refused:
      return settle(State::Refused);
    case CameraPortal::Answer::NoPortal:
      return source->connect(settleLater(State::WithoutPortal));
  }
}

void PortalAccess::connectThroughPortal() {
  const auto askForSocket = [weakSelf = weak_from_this(), &mainQueue = mainQueue_] {
    mainQueue.async([weakSelf] {
      if (const auto self = weakSelf.lock()) self->openRemote();
    });
  };
  source_.lock()->connectThrough(askForSocket, settleLater(State::Granted));
}

void PortalAccess::openRemote() {
  portal_->openRemote([weakSource = source_](FileDescriptor socket) {
    if (const auto source = weakSource.lock()) source->connectTo(std::move(socket));
  });
}

std::function<void(bool)> PortalAccess::settleLater(State state) {
  mainQueue_.after(patience_, [weakSelf = weak_from_this(), state] {
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

void PortalAccess::settle(State state) {
  if (state_ != State::Asked) return;
  state_ = state;
  if (const auto completion = std::exchange(completion_, nullptr))
    completion(status() == AVAuthorizationStatus::Authorized);
}

}  // namespace platform_linux
