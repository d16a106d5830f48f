#include "platform/linux/camera/CaptureFlow.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace platform_linux {

void CaptureFlow::setCamera(Camera camera) {
  const std::scoped_lock lock(cameraMutex_);
  camera_ = std::move(camera);
}

bool CaptureFlow::hasCamera() const {
  const std::scoped_lock lock(cameraMutex_);
  return camera_.has_value();
}

void CaptureFlow::start() {
  post(&CaptureFlow::startNow);
}

void CaptureFlow::stop() {
  service_->loop().post([self = shared_from_this()] { self->stopNow(ECANCELED); });
}

void CaptureFlow::requestStill(StillAnswer answer) {
  service_->loop().post([self = shared_from_this(), answer = std::move(answer)]() mutable {
    self->request(std::move(answer));
  });
}

void CaptureFlow::addFeed(const std::shared_ptr<FrameFeed>& feed) {
  service_->loop().post(
      [self = shared_from_this(), weakFeed = std::weak_ptr(feed)] { self->feeds_.push_back(weakFeed); });
}

void CaptureFlow::post(void (CaptureFlow::*task)()) {
  service_->loop().post([self = shared_from_this(), task] { (self.get()->*task)(); });
}

void CaptureFlow::startNow() {
  if (isStarted_ && error_ == 0) return;
  if (isStarted_) fail(error_);
  isStarted_ = true;
  error_ = 0;
  endFeeds(0);
  sequence_ = 0;
  schedule_.restart();
  const Camera* camera = nullptr;
  {
    const std::scoped_lock lock(cameraMutex_);
    if (camera_) camera = service_->find(*camera_);
  }
  if (!camera) return fail(ENODEV);
  const auto mode = highQualityMode(camera->modes);
  if (!mode) return fail(ENOTSUP);
  service_->add(shared_from_this());
  stream_ = service_->open(*camera, *mode, *this);
}

void CaptureFlow::stopNow(int error) {
  fail(error);
  isStarted_ = false;
}

void CaptureFlow::fail(int error) {
  service_->remove(shared_from_this());
  stream_.reset();
  silenceTimer_.reset();
  schedule_.restart();
  error_ = error;
  endFeeds(error == ECANCELED ? 0 : error);
  answerAll(nullptr, error);
}

void CaptureFlow::endFeeds(int error) {
  for (const auto& weakFeed : feeds_)
    if (const auto feed = weakFeed.lock()) feed->end(error);
}

void CaptureFlow::abandon() {
  waiting_.clear();
  stopNow(ESHUTDOWN);
}

void CaptureFlow::request(StillAnswer answer) {
  if (!isStarted_) return answer(nullptr, ENOTCONN);
  if (error_ != 0) return answer(nullptr, error_);
  if (!schedule_.request(service_->loop().now())) return answer(nullptr, ETIMEDOUT);
  waiting_.push_back(std::move(answer));
  armTimer();
}

void CaptureFlow::answerAll(const std::shared_ptr<const picture::Frame>& frame, int error) {
  for (auto& answer : std::exchange(waiting_, {}))
    answer(frame, error);
}

void CaptureFlow::armTimer() {
  const auto deadline = schedule_.deadline();
  if (!deadline) return;
  if (!silenceTimer_) silenceTimer_ = service_->loop().timer([this] { checkSilence(); });
  silenceTimer_->startOnce(*deadline - service_->loop().now());
}

void CaptureFlow::checkSilence() {
  // Frames put the deadline off; the timer is not touched at each of them, it looks again when it fires.
  if (schedule_.hasFallenSilent(service_->loop().now()))
    answerAll(nullptr, ETIMEDOUT);
  else
    armTimer();
}

bool CaptureFlow::anyFeedWants() {
  std::erase_if(feeds_, [](auto& feed) { return feed.expired(); });
  isWatched_ = std::any_of(feeds_.begin(), feeds_.end(), [](auto& weakFeed) {
    const auto feed = weakFeed.lock();
    return feed && feed->isWanted();
  });
  return isWatched_;
}

void CaptureFlow::frameArrived(const FrameBuffer& picture) {
  ++arrived_;
  const std::uint64_t sequence = sequence_++;
  const bool answersStills = schedule_.frameArrived(service_->loop().now());
  if (!answersStills && !anyFeedWants()) return;
  const std::shared_ptr<const picture::Frame> frame = picture.copy(sequence);
  ++copied_;
  if (answersStills) {
    silenceTimer_->stop();
    answerAll(frame, 0);
  }
  for (const auto& weakFeed : feeds_)
    if (const auto feed = weakFeed.lock()) feed->publish(frame);
}

void CaptureFlow::streamEnded(int error) {
  error_ = error;
  // Not here, in the stream's own call: it is destroyed by this.
  service_->loop().post([weakSelf = weak_from_this(), reason = error_] {
    const auto self = weakSelf.lock();
    if (self && self->isStarted_ && self->error_ == reason) self->fail(reason);
  });
}

}  // namespace platform_linux
