#include "platform/linux/camera/pipewire/PipeWireFrameSource.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <pipewire/pipewire.h>

namespace platform_linux {

PipeWireFrameSource::PipeWireFrameSource() {
  pw_init(nullptr, nullptr);
}

PipeWireFrameSource::PipeWireFrameSource(platform::MainQueue& mainQueue, std::shared_ptr<CameraPortal> portal,
                                         std::chrono::milliseconds patience)
    : mainQueue_(&mainQueue), portal_(std::move(portal)), patience_(patience) {
  pw_init(nullptr, nullptr);
}

PipeWireFrameSource::~PipeWireFrameSource() {
  pw_deinit();
}

void PipeWireFrameSource::start(CameraLoop& loop, FrameSource::Client& client) {
  loop_ = &loop;
  client_ = &client;
  loop_->post([this] { connection_.emplace(*loop_, *this); });
  if (!portal_) return connect();
  portalAccess_ = std::make_shared<PortalAccess>(*mainQueue_, portal_, weak_from_this(), patience_);
  // Without permission there is nothing to wait for: the cameras come later, as news.
  loop_->post([this] { tell({CameraCensus::State::Complete, {}}); });
}

void PipeWireFrameSource::stop() {
  registry_.reset();
  connection_.reset();
}

CameraAccess& PipeWireFrameSource::access() {
  if (portalAccess_) return *portalAccess_;
  return socketAccess_;
}

std::unique_ptr<FrameStream> PipeWireFrameSource::open(const Camera& camera, const CameraMode& mode,
                                                       FrameStream::Client& client) {
  auto stream = std::make_unique<PipeWireStream>(*loop_, connection_->core(), camera, mode, *this, client);
  streams_.insert(stream.get());
  // Session managers have no word of their own for it: they say the same of a camera that they do not link.
  if (registry_ && !registry_->knows(camera.serial)) stream->end(ENODEV);
  return stream;
}

void PipeWireFrameSource::connect(Told told) {
  loop_->post([this, told = std::move(told)] {
    told_ = told;
    connection_->open();
  });
}

void PipeWireFrameSource::connectThrough(std::function<void()> askForSocket, Told told) {
  loop_->post([this, askForSocket = std::move(askForSocket), told = std::move(told)] {
    told_ = told;
    connection_->openThrough(askForSocket);
  });
}

void PipeWireFrameSource::connectTo(FileDescriptor socket) {
  const auto shared = std::make_shared<FileDescriptor>(std::move(socket));
  loop_->post([this, shared] { connection_->connectTo(std::move(*shared)); });
}

void PipeWireFrameSource::connected() {
  registry_.emplace(*loop_, *connection_, *this);
}

void PipeWireFrameSource::disconnected() {
  for (auto* stream : streams_)
    stream->giveUp();
  registry_.reset();
  tell({CameraCensus::State::NobodyServes, {}});
}

void PipeWireFrameSource::synced(int sequence) {
  if (registry_) registry_->synced(sequence);
}

void PipeWireFrameSource::camerasChanged(CameraCensus census) {
  for (auto* stream : streams_)
    if (std::none_of(census.cameras.begin(), census.cameras.end(),
                     [&](auto& each) { return each.serial == stream->serial(); }))
      stream->end(ENODEV);
  tell(std::move(census));
}

void PipeWireFrameSource::cameraFailed(std::uint64_t serial, int error) {
  for (auto* stream : streams_)
    if (stream->serial() == serial) stream->end(error);
}

void PipeWireFrameSource::linkFailed(std::uint32_t user, int error) {
  // No format was agreed on, for whatever reason: a camera in use refuses them all, too.
  if (error == ENOENT) return;
  for (auto* stream : streams_)
    if (stream->nodeId() == user) stream->end(error);
}

void PipeWireFrameSource::streamGoes(PipeWireStream& stream) {
  streams_.erase(&stream);
}

void PipeWireFrameSource::tell(CameraCensus census) {
  const bool areThereCameras = !census.cameras.empty();
  client_->camerasChanged(*this, std::move(census));
  if (told_) told_(areThereCameras);
}

}  // namespace platform_linux
