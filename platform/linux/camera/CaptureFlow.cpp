#include "platform/linux/camera/CaptureFlow.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace platform_linux {
namespace {

/// When so many pictures of a mode have come, for so long, and none was of use, another mode is tried: some
/// cameras, drivers and hubs bring only cut ones of their largest. Streams may begin badly.
constexpr int kUselessPictures = 5;
constexpr std::chrono::seconds kUselessTime{1};

/// How long a camera runs on when a session that ran for a still is stopped: as long as a run without windows
/// takes to say goodbye.
constexpr std::chrono::seconds kReadiness{1};

// Some state less once they run, or more: what one of the two leaves open is no difference.
bool isOffered(const CameraMode& mode, const std::vector<CameraMode>& modes) {
  return std::any_of(modes.begin(), modes.end(), [&](const CameraMode& each) {
    const bool isSize = each.width == mode.width && each.height == mode.height;
    return each.format == mode.format && (isSize || !each.saysSize() || !mode.saysSize()) &&
           (each.rate == mode.rate || !each.rate.stated() || !mode.rate.stated());
  });
}

}  // namespace

CaptureFlow::CaptureFlow(std::shared_ptr<CaptureService> service)
    : service_(std::move(service)),
      stills_(std::make_shared<StillQueue>(service_->loop(), service_->examiner(),
                                           [this](const std::string& line) { note(line); })) {}

void CaptureFlow::setCamera(Camera camera) {
  const std::scoped_lock lock(cameraMutex_);
  camera_ = std::move(camera);
}

bool CaptureFlow::hasCamera() const {
  return chosenCamera().has_value();
}

std::optional<Camera> CaptureFlow::chosenCamera() const {
  const std::scoped_lock lock(cameraMutex_);
  return camera_;
}

void CaptureFlow::start() {
  post(&CaptureFlow::startNow);
}

void CaptureFlow::stop() {
  post(&CaptureFlow::stopSoon);
}

void CaptureFlow::release() {
  service_->loop().post([self = shared_from_this()] { self->stopNow(ECANCELED); });
}

void CaptureFlow::requestStill(StillAnswer answer, bool isMirrored) {
  service_->loop().post([self = shared_from_this(), answer = std::move(answer), isMirrored]() mutable {
    self->request(std::move(answer), isMirrored);
  });
}

void CaptureFlow::addFeed(const std::shared_ptr<FrameFeed>& feed) {
  service_->loop().post(
      [self = shared_from_this(), weakFeed = std::weak_ptr(feed)] { self->feeds_.push_back(weakFeed); });
}

void CaptureFlow::note(const std::string& line) const {
  const auto camera = chosenCamera();
  service_->note((camera ? camera->localizedName : "") + ": " + line);
}

void CaptureFlow::post(void (CaptureFlow::*task)()) {
  service_->loop().post([self = shared_from_this(), task] { (self.get()->*task)(); });
}

void CaptureFlow::startNow() {
  readiness_.reset();
  if (std::exchange(isStarted_, true)) {
    if (!stream_) openStream();
    return;
  }
  sequence_ = 0;
  tookStill_ = false;
  patience_ = {};
  pace_.reset();
  endFeeds(0);
  service_->add(shared_from_this());
  restart_ = service_->loop().timer([this] { openStream(); });
  silence_ = service_->loop().timer([this] { checkSilence(); });
  openStream();
}

void CaptureFlow::stopSoon() {
  if (!isStarted_) return;
  if (!tookStill_ || isWatched_) return stopNow(ECANCELED);
  stills_->fail(ECANCELED);
  endFeeds(0);
  if (!readiness_) readiness_ = service_->loop().timer([this] { endReadiness(); });
  readiness_->startOnce(kReadiness);
}

void CaptureFlow::endReadiness() {
  if (stills_->isEmpty())
    stopNow(ECANCELED);
  else
    readiness_->startOnce(kReadiness);
}

void CaptureFlow::stopNow(int error) {
  if (!isStarted_) return;
  giveCameraBack(error);
  stills_->fail(error);
  leaveService();
}

void CaptureFlow::giveCameraBack(int error) {
  isStarted_ = false;
  closeStream(error);
  endFeeds(0);
  restart_.reset();
  silence_.reset();
  readiness_.reset();
}

void CaptureFlow::leaveService() {
  service_->remove(shared_from_this());
}

void CaptureFlow::openStream() {
  if (!isStarted_ || stream_) return;
  const auto chosen = chosenCamera();
  const Camera* const camera = chosen ? service_->find(*chosen) : nullptr;
  const auto mode = camera ? modes_.best(*camera) : std::nullopt;
  hopeless_ = !chosen ? ENODEV : camera && !mode ? ENOTSUP : 0;
  // One that is away starts when it is back. It has gone with the daemon, or by itself.
  if (!camera) stills_->setReason(stills_->reason() == EPIPE ? EPIPE : ENODEV);
  if (hopeless_ != 0) stills_->fail(hopeless_);
  if (!mode) return endFeeds(hopeless_ != 0 ? hopeless_ : stills_->reason());
  restart_->stop();
  ++run_;
  stills_->restart();
  if (modes_.isDetour() || patience_.isTriedAgain()) stills_->waitForAnotherStart();
  unusable_ = 0;
  hasGivenUp_ = false;
  mode_ = *mode;
  stream_ = service_->open(*camera, mode_, *this);
  patience_.opened(service_->loop().now(), modes_.isDetour());
  waitForSilence();
}

void CaptureFlow::lookForSilenceIn(std::chrono::nanoseconds delay) {
  silenceDue_ = service_->loop().now() + delay;
  silence_->startOnce(delay);
}

void CaptureFlow::waitForSilence() {
  lookForSilenceIn(patience_.end() - service_->loop().now());
}

void CaptureFlow::closeStream(int error) {
  ++run_;
  stream_.reset();
  silence_->stop();
  // Session managers also take a stream away whose link they could not make.
  const auto camera = chosenCamera();
  const bool isThere = camera && service_->find(*camera);
  stills_->setReason(error == ENODEV && isThere ? EIO : error);
}

void CaptureFlow::restart(int error) {
  // A run of some length is no failed attempt.
  if (stills_->hasSettled()) pace_.reset();
  if (patience_.hasBegun()) modes_.works();
  // Another mode is another attempt.
  if (!patience_.hasBegun() && modes_.refused(error)) pace_.reset();
  closeStream(error);
  const auto pause = pace_.next();
  // A hiccup is no reason to tell people of an error.
  endFeeds(pause == pause.zero() ? 0 : stills_->reason());
  restart_->startOnce(pause);
}

void CaptureFlow::checkSilence() {
  const auto late = service_->loop().now() - silenceDue_;
  if (late > kStandstill) patience_.stoodStill(late);
  // Pictures put it off; the timer is not touched at each of them.
  if (service_->loop().now() < patience_.end()) return waitForSilence();
  // One that has never begun may do so in a smaller mode, or take longer for its first frame, and begins from
  // the start each time.
  if (!patience_.hasBegun()) {
    modes_.silent();
    if (modes_.isDetour())
      noteNextMode("comes");
    else
      patience_.wasInVain();
  }
  restart(ETIMEDOUT);
}

void CaptureFlow::endFeeds(int error) {
  for (const auto& weakFeed : feeds_)
    if (const auto feed = weakFeed.lock()) feed->end(error);
}

void CaptureFlow::finish() {
  if (!isStarted_) return;
  giveCameraBack(ESHUTDOWN);
  stills_->finish([weakSelf = weak_from_this()] {
    if (const auto self = weakSelf.lock()) self->leaveService();
  });
}

void CaptureFlow::abandon() {
  stills_->abandon();
  if (isStarted_) giveCameraBack(ESHUTDOWN);
  leaveService();
}

void CaptureFlow::camerasChanged() {
  if (!stream_) return openStream();
  // A camera that offers its mode no more sends something else by now, or is waiting to be asked for it.
  const auto chosen = chosenCamera();
  const Camera* const camera = chosen ? service_->find(*chosen) : nullptr;
  if (camera && !isOffered(mode_, camera->modes)) restart(ESTALE);
}

void CaptureFlow::request(StillAnswer answer, bool isMirrored) {
  if (!isStarted_) return answer({}, ENOTCONN);
  if (hopeless_ != 0) return answer({}, hopeless_);
  stills_->request(
      [weakSelf = weak_from_this(), answer = std::move(answer)](const StillPicture& picture, int error) {
        const auto self = weakSelf.lock();
        if (self && picture.frame) self->tookStill_ = true;
        answer(picture, error);
      },
      isMirrored);
}

bool CaptureFlow::anyFeedWants() {
  std::erase_if(feeds_, [](auto& feed) { return feed.expired(); });
  isWatched_ = !readiness_ && std::any_of(feeds_.begin(), feeds_.end(), [](auto& weakFeed) {
    const auto feed = weakFeed.lock();
    return feed && feed->isWanted();
  });
  return isWatched_;
}

void CaptureFlow::frameArrived(const FrameBuffer& picture) {
  if (!patience_.hasBegun()) firstFrameArrived(picture);
  ++arrived_;
  patience_.frameArrived(service_->loop().now());
  const std::uint64_t sequence = sequence_++;
  if (readiness_ && stills_->isEmpty()) return;
  const bool forFeeds = anyFeedWants();
  const auto purpose = forFeeds ? StillQueue::Purpose::Preview : StillQueue::Purpose::Still;
  const bool forStills = stills_->wantsFrame(purpose);
  if (!forStills && !forFeeds) return;
  const std::shared_ptr<const picture::Frame> frame = picture.copy(sequence);
  ++copied_;
  if (forStills) stills_->examine(frame, purpose);
  if (readiness_) return;
  for (const auto& weakFeed : feeds_)
    if (const auto feed = weakFeed.lock()) feed->publish(frame);
}

void CaptureFlow::firstFrameArrived(const FrameBuffer& picture) {
  noteOtherMode(picture.format());
  // From now on the stream may stand still much earlier than the timer looks for its beginning.
  lookForSilenceIn(StreamPatience::kStall);
}

void CaptureFlow::frameUnusable() {
  if (patience_.hasBegun() || !modes_.hasAnother()) return;
  const auto now = service_->loop().now();
  if (unusable_++ == 0) unusableSince_ = now;
  if (unusable_ < kUselessPictures || now - unusableSince_ < kUselessTime || hasGivenUp_) return;
  noteNextMode("can be used");
  hasGivenUp_ = true;
  streamEnded(EINVAL);
}

void CaptureFlow::noteOtherMode(const FrameFormat& format) const {
  if (!mode_.saysSize() || (format.width == mode_.width && format.height == mode_.height)) return;
  note("another program uses it, so its pictures are " + std::to_string(format.width) + "x" +
       std::to_string(format.height) + " instead of " + std::to_string(mode_.width) + "x" +
       std::to_string(mode_.height));
}

void CaptureFlow::noteNextMode(const std::string& whatFails) const {
  note("no picture of " + std::to_string(mode_.width) + "x" + std::to_string(mode_.height) + " " + whatFails +
       ", the next best mode is tried");
}

void CaptureFlow::streamEnded(int error) {
  // Not here, in the stream's own call: it is destroyed by this.
  service_->loop().post([weakSelf = weak_from_this(), error, run = run_] {
    const auto self = weakSelf.lock();
    if (self && self->isStarted_ && self->run_ == run) self->restart(error);
  });
}

}  // namespace platform_linux
