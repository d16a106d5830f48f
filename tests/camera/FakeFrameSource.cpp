#include "tests/camera/FakeFrameSource.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace camera_test {

using platform_linux::Camera;
using platform_linux::CameraCensus;
using platform_linux::CameraMode;
using platform_linux::FrameBlock;
using platform_linux::FrameBuffer;
using platform_linux::FrameStream;

class FakeCameraLoop::FakeTimer final : public CameraLoop::Timer {
 public:
  FakeTimer(FakeCameraLoop& loop, std::function<void()> action)
      : loop_(loop), action_(std::make_shared<std::function<void()>>(std::move(action))) {
    loop_.timers_.push_back(this);
  }
  FakeTimer(const FakeTimer&) = delete;
  FakeTimer& operator=(const FakeTimer&) = delete;
  ~FakeTimer() override { std::erase(loop_.timers_, this); }

  void startOnce(std::chrono::nanoseconds delay) override {
    due_ = loop_.now_ + std::max(delay, std::chrono::nanoseconds{0});
  }
  void stop() override { due_.reset(); }
  [[nodiscard]] std::optional<Time> due() const { return due_; }
  void fire() {
    due_.reset();
    // Held, as the call may destroy its own timer.
    const auto action = action_;
    (*action)();
  }

 private:
  FakeCameraLoop& loop_;
  const std::shared_ptr<std::function<void()>> action_;
  std::optional<Time> due_;
};

std::unique_ptr<platform_linux::CameraLoop::Timer> FakeCameraLoop::timer(std::function<void()> action) {
  return std::make_unique<FakeTimer>(*this, std::move(action));
}

std::unique_ptr<platform_linux::CameraLoop::Watch> FakeCameraLoop::watch(int, std::function<void()>) {
  return std::make_unique<Watch>();
}

void FakeCameraLoop::end(std::function<void()> last) {
  if (std::exchange(hasEnded_, true)) return;
  tasks_.clear();
  last();
}

void FakeCameraLoop::run() {
  while (!tasks_.empty() && !hasEnded_) {
    const auto task = std::move(tasks_.front());
    tasks_.pop_front();
    task();
  }
}

void FakeCameraLoop::advance(std::chrono::nanoseconds time) {
  const Time until = now_ + time;
  run();
  for (;;) {
    FakeTimer* next = nullptr;
    for (auto* timer : timers_)
      if (timer->due() && *timer->due() <= until && (!next || *timer->due() < *next->due())) next = timer;
    if (!next) break;
    now_ = std::max(now_, *next->due());
    next->fire();
    run();
  }
  now_ = until;
}

void FakeCameraLoop::standStill(std::chrono::nanoseconds time) {
  now_ += time;
  advance(std::chrono::nanoseconds{0});
}

class FakeFrameSource::Stream final : public FrameStream {
 public:
  Stream(FakeFrameSource& source, std::uint64_t serial, const CameraMode& mode, Client& client)
      : source_(source), serial_(serial), mode_(mode), client_(client) {
    source_.streams_.push_back(this);
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  ~Stream() override { std::erase(source_.streams_, this); }

  [[nodiscard]] std::uint64_t serial() const { return serial_; }
  void deliver(const std::vector<std::uint8_t>& bytes) {
    if (hasEnded_ || mode_.pixels() > source_.loudPixels) return;
    if (mode_.pixels() > source_.usablePixels) return client_.frameUnusable();
    const std::array blocks{FrameBlock{bytes, 0}};
    client_.frameArrived(FrameBuffer::pictureIn(blocks, {mode_.format, mode_.width, mode_.height}).value());
  }
  void end(int error) {
    if (!std::exchange(hasEnded_, true)) client_.streamEnded(error);
  }

 private:
  FakeFrameSource& source_;
  const std::uint64_t serial_;
  const CameraMode mode_;
  Client& client_;
  bool hasEnded_ = false;
};

void FakeFrameSource::start(platform_linux::CameraLoop& loop, Client& client) {
  loop_ = &loop;
  client_ = &client;
}

std::unique_ptr<FrameStream> FakeFrameSource::open(const Camera& camera, const CameraMode& mode,
                                                   FrameStream::Client& client) {
  ++opened;
  auto stream = std::make_unique<Stream>(*this, camera.serial, mode, client);
  const bool isThere =
      std::any_of(cameras_.begin(), cameras_.end(), [&](auto& each) { return each.serial == camera.serial; });
  if (!isThere)
    endLater(camera.serial, ENODEV);
  else if (busy.contains(camera.uniqueID))
    endLater(camera.serial, EBUSY);
  else if (refusal && mode.pixels() > grantedPixels)
    loop_->post([this] {
      if (refusal) endStreams(*refusal);
    });
  return stream;
}

void FakeFrameSource::endLater(std::uint64_t serial, int error) {
  loop_->post([this, serial, error] {
    for (auto* stream : std::vector(streams_))
      if (stream->serial() == serial) stream->end(error);
  });
}

void FakeFrameSource::show(std::vector<Camera> cameras, CameraCensus::State state) {
  for (const Camera& before : std::exchange(cameras_, cameras))
    if (std::none_of(cameras_.begin(), cameras_.end(),
                     [&](auto& each) { return each.serial == before.serial; }))
      endLater(before.serial, ENODEV);
  client_->camerasChanged(*this, {state, std::move(cameras)});
}

void FakeFrameSource::deliver(std::vector<std::uint8_t> bytes) {
  bytes.insert(bytes.begin(), {0xff, 0xd8, 0xff});
  for (auto* stream : std::vector(streams_))
    stream->deliver(bytes);
}

void FakeFrameSource::endStreams(int error) {
  for (auto* stream : std::vector(streams_))
    stream->end(error);
}

void FakeExaminer::post(std::function<void()> found) {
  if (effort == effort.zero()) return loop_.post(std::move(found));
  timer_ = loop_.timer(std::move(found));
  timer_->startOnce(std::exchange(effort, effort.zero()));
}

// Of a damaged frame there is no exposure.
void FakeExaminer::measure(std::shared_ptr<const picture::Frame> frame,
                           std::function<void(const std::optional<platform_linux::Exposure>&)> found) {
  ++measured;
  std::optional<platform_linux::Exposure> exposure;
  const double level = frame->bytes.at(4);
  if (frame->bytes.at(3) == 0) exposure = {level, level, level};
  post([found = std::move(found), exposure] { found(exposure); });
}

void FakeExaminer::examine(std::shared_ptr<const picture::Frame> frame, Still still,
                           std::function<void(const platform_linux::FrameFinding&)> found) {
  examined.push_back(still);
  platform_linux::FrameFinding finding{frame->bytes.at(3) / 100.0, {}, nullptr};
  if (finding.lost > 0) finding.whyNot = "much is missing";
  if (finding.lost == 0)
    finding.file = std::make_shared<platform_linux::EncodedPhoto>(
        platform_linux::EncodedPhoto{still.isMirrored, {frame->bytes}, {}});
  post([found = std::move(found), finding] { found(finding); });
}

}  // namespace camera_test
