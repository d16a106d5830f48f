#include "platform/linux/camera/CaptureService.h"

#include <algorithm>
#include <utility>

#include "platform/linux/camera/CaptureFlow.h"

namespace platform_linux {

CaptureService::CaptureService(platform::MainQueue& mainQueue, std::shared_ptr<CameraList> list,
                               std::unique_ptr<CameraLoop> loop, std::shared_ptr<FrameSource> source)
    : list_(std::move(list)), worker_(mainQueue), loop_(std::move(loop)), source_(std::move(source)) {
  source_->start(*loop_, *this);
}

CaptureService::~CaptureService() {
  shutDown();
}

void CaptureService::shutDown() {
  loop_->end([this] {
    for (const auto& flow : std::set(flows_))
      flow->abandon();
    source_->stop();
  });
  worker_.stop();
}

const Camera* CaptureService::find(const Camera& camera) const {
  const auto same = std::find_if(cameras_.begin(), cameras_.end(), [&](auto& each) {
    return each.serial == camera.serial && each.uniqueID == camera.uniqueID;
  });
  if (same != cameras_.end()) return &*same;
  const auto replugged = std::find_if(cameras_.begin(), cameras_.end(),
                                      [&](auto& each) { return each.uniqueID == camera.uniqueID; });
  return replugged != cameras_.end() ? &*replugged : nullptr;
}

void CaptureService::camerasChanged(const FrameSource&, CameraCensus census) {
  cameras_ = std::move(census.cameras);
  list_->update(cameras_);
}

}  // namespace platform_linux
