#include "platform/linux/camera/CaptureService.h"

#include <algorithm>
#include <utility>

#include "platform/linux/camera/CaptureFlow.h"

namespace platform_linux {

CaptureService::CaptureService(Parts parts)
    : log_(parts.log),
      list_(std::move(parts.list)),
      worker_(parts.mainQueue),
      loop_(std::move(parts.loop)),
      examiner_(std::move(parts.examiner)),
      source_(std::move(parts.source)) {
  source_->start(*loop_, *this);
}

CaptureService::~CaptureService() {
  shutDown();
}

void CaptureService::abandonFlows() {
  for (const auto& flow : std::set(flows_))
    flow->abandon();
}

void CaptureService::stopSessions() {
  loop_->post([this] { finishFlows(); });
}

void CaptureService::finishFlows() {
  if (std::exchange(isFinishing_, true)) return;
  if (flows_.empty()) return deliverEnd();
  for (const auto& flow : std::set(flows_))
    flow->finish();
}

void CaptureService::remove(const std::shared_ptr<CaptureFlow>& flow) {
  const bool wasThere = flows_.erase(flow) > 0;
  if (wasThere && isFinishing_ && flows_.empty()) deliverEnd();
}

void CaptureService::deliverEnd() {
  worker_.deliver([this] { lastDelivery_.set_value(); }, /*lowersPriority=*/false);
}

bool CaptureService::waitForStills(std::chrono::milliseconds patience) {
  return lastDelivery_.get_future().wait_for(patience) == std::future_status::ready;
}

void CaptureService::shutDown() {
  loop_->end([this] {
    abandonFlows();
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
  std::sort(cameras_.begin(), cameras_.end(), comesBefore);
  for (const auto& line : census.notes)
    if (notes_.insert(line).second) note(line);
  list_->update(cameras_, census.state != CameraCensus::State::Gathering);
  for (const auto& flow : std::set(flows_))
    flow->camerasChanged();
}

}  // namespace platform_linux
