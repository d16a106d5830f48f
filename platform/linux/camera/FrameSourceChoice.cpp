#include "platform/linux/camera/FrameSourceChoice.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <utility>

#include "platform/linux/base/Patience.h"

namespace platform_linux {
namespace {

/// Tells the other source's cameras apart: serials are unique in one source only.
constexpr std::uint64_t kOther = std::uint64_t{1} << 63;

/// How long the question whether cameras may be used waits for the choice.
constexpr std::chrono::seconds kFirstChoice{2};

}  // namespace

/// Permission is that of the source whose cameras are told.
class FrameSourceChoice::Access final : public CameraAccess {
 public:
  Access(CameraAccess& usual, CameraAccess& other) : usual_(usual), other_(other) {}

  void choose(bool isOther) {
    {
      const std::scoped_lock lock(mutex_);
      isOther_ = isOther;
    }
    becameKnown_.notify_all();
  }

  /// Waits, bounded, for the first choice only where that may change the answer: when the devices are
  /// refused, it is the daemon that decides, if there is one.
  [[nodiscard]] platform::AVAuthorizationStatus status() const override {
    if (other_.status() == platform::AVAuthorizationStatus::Authorized) return usualIfChosen().status();
    std::unique_lock lock(mutex_);
    waitPatiently(becameKnown_, lock, kFirstChoice, [this] { return isOther_.has_value(); });
    return (isOther_.value_or(false) ? other_ : usual_).status();
  }
  void request(std::function<void(bool granted)> completion) override {
    usualIfChosen().request(std::move(completion));
  }
  void ask() override { usualIfChosen().ask(); }
  [[nodiscard]] bool hidesCamera() const override { return usualIfChosen().hidesCamera(); }

 private:
  [[nodiscard]] CameraAccess& usualIfChosen() const {
    const std::scoped_lock lock(mutex_);
    return isOther_.value_or(false) ? other_ : usual_;
  }

  CameraAccess& usual_;
  CameraAccess& other_;
  mutable std::mutex mutex_;  // guards what follows
  mutable std::condition_variable becameKnown_;
  std::optional<bool> isOther_;
};

/// As long as one of these lives, the choice stays: a camera that is in use does not go and come again.
class FrameSourceChoice::OtherStream final : public FrameStream {
 public:
  OtherStream(FrameSourceChoice& choice, std::unique_ptr<FrameStream> stream)
      : choice_(choice), stream_(std::move(stream)) {
    ++choice_.otherStreams_;
  }
  OtherStream(const OtherStream&) = delete;
  OtherStream& operator=(const OtherStream&) = delete;
  ~OtherStream() override {
    stream_.reset();
    --choice_.otherStreams_;
    choice_.otherStreamGoes();
  }

 private:
  FrameSourceChoice& choice_;
  std::unique_ptr<FrameStream> stream_;
};

/// Passes a stream on, and says why when it ends without having brought a picture.
class FrameSourceChoice::TriedStream final : public FrameStream, private FrameStream::Client {
 public:
  using Open = std::function<std::unique_ptr<FrameStream>(FrameStream::Client& client)>;

  TriedStream(FrameStream::Client& client, std::function<void(int error)> failed, const Open& open)
      : client_(client), failed_(std::move(failed)), stream_(open(*this)) {}

 private:
  void frameArrived(const FrameBuffer& picture) override {
    hasPicture_ = true;
    client_.frameArrived(picture);
  }
  void frameUnusable() override { client_.frameUnusable(); }
  void streamEnded(int error) override {
    if (!hasPicture_) failed_(error);
    client_.streamEnded(error);
  }

  FrameStream::Client& client_;
  const std::function<void(int error)> failed_;
  bool hasPicture_ = false;
  const std::unique_ptr<FrameStream> stream_;  // last: it tells what is above
};

FrameSourceChoice::FrameSourceChoice(std::shared_ptr<FrameSource> usual, std::shared_ptr<FrameSource> other)
    : usual_(std::move(usual)),
      other_(std::move(other)),
      access_(std::make_unique<Access>(usual_->access(), other_->access())) {}

FrameSourceChoice::~FrameSourceChoice() = default;

void FrameSourceChoice::start(CameraLoop& loop, FrameSource::Client& client) {
  loop_ = &loop;
  client_ = &client;
  usual_->start(loop, *this);
}

void FrameSourceChoice::stop() {
  usual_->stop();
  if (isOtherStarted_) other_->stop();
}

CameraAccess& FrameSourceChoice::access() {
  return *access_;
}

std::unique_ptr<FrameStream> FrameSourceChoice::open(const Camera& camera, const CameraMode& mode,
                                                     FrameStream::Client& client) {
  if ((camera.serial & kOther) == 0) return openUsual(camera, mode, client);
  Camera theirs = camera;
  theirs.serial &= ~kOther;
  return std::make_unique<OtherStream>(*this, other_->open(theirs, mode, client));
}

std::unique_ptr<FrameStream> FrameSourceChoice::openUsual(const Camera& camera, const CameraMode& mode,
                                                          FrameStream::Client& client) {
  if (const auto other = unserved_.contains(camera.serial) ? otherCameraAt(camera.place) : std::nullopt)
    return std::make_unique<TriedStream>(
        client, [this, serial = camera.serial](int) { unserved_.erase(serial); },
        [&](FrameStream::Client& each) { return other_->open(*other, mode, each); });
  const auto failed = [this, serial = camera.serial, hasDevice = !camera.place.empty()](int error) {
    if (error != EIO || !hasDevice) return;
    unserved_.insert(serial);
    startOther();
  };
  return std::make_unique<TriedStream>(
      client, failed, [&](FrameStream::Client& each) { return usual_->open(camera, mode, each); });
}

std::optional<Camera> FrameSourceChoice::otherCameraAt(const std::string& place) const {
  if (!otherCensus_) return std::nullopt;
  for (Camera camera : otherCensus_->cameras) {
    camera.serial &= ~kOther;
    if (camera.place == place) return camera;
  }
  return std::nullopt;
}

void FrameSourceChoice::startOther() {
  if (!std::exchange(isOtherStarted_, true)) other_->start(*loop_, *this);
}

void FrameSourceChoice::camerasChanged(const FrameSource& source, CameraCensus census) {
  if (&source == usual_.get()) {
    usualCensus_ = std::move(census);
  } else {
    for (Camera& camera : census.cameras)
      camera.serial |= kOther;
    otherCensus_ = std::move(census);
  }
  choose();
}

void FrameSourceChoice::choose() {
  if (!usualCensus_) return;
  const bool isWanted =
      usualCensus_->state != CameraCensus::State::Gathering && usualCensus_->cameras.empty();
  isOtherChosen_ = isWanted || (isOtherChosen_ && otherStreams_ > 0);
  if (isOtherChosen_ || !usualCensus_->unread.empty()) startOther();
  // Until the other source has told its cameras there is nothing to tell.
  if (isOtherChosen_ && !otherCensus_) return;
  access_->choose(isOtherChosen_);
  CameraCensus census = isOtherChosen_ ? *otherCensus_ : usualAndUnread();
  // Why the usual source has no camera is worth knowing then.
  if (isOtherChosen_)
    census.notes.insert(census.notes.end(), usualCensus_->notes.begin(), usualCensus_->notes.end());
  client_->camerasChanged(*this, std::move(census));
}

CameraCensus FrameSourceChoice::usualAndUnread() const {
  CameraCensus census = *usualCensus_;
  if (!otherCensus_) return census;
  for (const Camera& camera : otherCensus_->cameras)
    if (census.unread.contains(camera.place)) census.cameras.push_back(camera);
  std::sort(census.cameras.begin(), census.cameras.end(), comesBefore);
  return census;
}

void FrameSourceChoice::otherStreamGoes() {
  // On a later turn: whoever ends the stream may be opening the next one.
  if (otherStreams_ == 0) loop_->post([this] { choose(); });
}

}  // namespace platform_linux
