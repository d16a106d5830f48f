#include "tests/desktop/virtual-camera/Camera.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "tests/desktop/virtual-camera/JpegEncoder.h"

namespace virtual_camera {
namespace {

constexpr std::uint64_t kSecond = 1'000'000'000;
constexpr std::uint64_t kMillisecond = kSecond / 1000;
/// Of pictures whose size the camera does not tell.
constexpr std::uint32_t kOwnWidth = 320;
constexpr std::uint32_t kOwnHeight = 240;

const char* stateName(Camera::State state) {
  switch (state) {
    case Camera::State::kUnplugged:
      return "unplugged";
    case Camera::State::kIdle:
      return "idle";
    case Camera::State::kStreaming:
      return "streaming";
    case Camera::State::kFailed:
      return "failed";
    case Camera::State::kLost:
      break;
  }
  return "lost";
}

timespec toTimespec(std::uint64_t nanoseconds) {
  return {static_cast<time_t>(nanoseconds / kSecond), static_cast<long>(nanoseconds % kSecond)};
}

bool reached(std::optional<std::uint64_t> limit, std::uint64_t frames) {
  return limit && frames >= *limit;
}

}  // namespace

Camera::Camera(pw_loop* loop, CameraSpec spec)
    : loop_(loop),
      spec_(std::move(spec)),
      faults_(spec_.faults),
      store_(spec_),
      recorder_(spec_),
      timer_(pw_loop_add_timer(loop, &Camera::onTick, this), SourceDeleter{loop}),
      nodeTimer_(pw_loop_add_timer(loop, &Camera::onNodeTime, this), SourceDeleter{loop}),
      releaseTimer_(pw_loop_add_timer(loop, &Camera::onRelease, this), SourceDeleter{loop}),
      lostEvent_(pw_loop_add_event(loop, &Camera::onLost, this), SourceDeleter{loop}) {}

void Camera::plug(const Done& done) {
  leaveRegistry();
  stalled_ = false;
  try {
    connect();
    plugging_.push_back(done);
    if (spec_.device.empty()) return enterNodeInTime();
    device_ = std::make_unique<DeviceObject>(connection_->core(), spec_, [this](std::uint32_t id) {
      deviceId_ = id;
      enterNodeInTime();
    });
  } catch (const std::runtime_error& error) {
    failPlug(error.what());
  }
}

void Camera::enterNodeInTime() {
  if (spec_.nodeDelay == 0) return enterNode();
  setTimer(nodeTimer_, spec_.nodeDelay * kMillisecond, 0);
  finishPlug();
}

void Camera::enterNode() {
  try {
    stream_ = std::make_unique<CameraStream>(
        connection_->core(), spec_, deviceId_,
        CameraStream::Events{[this](const NegotiatedFormat& format) { return chooseFormat(format); },
                             [this](pw_stream_state state) { streamStateChanged(state); },
                             [this](std::span<std::uint8_t> room) { return fill(room); }});
  } catch (const std::runtime_error& error) {
    failPlug(error.what());
  }
}

void Camera::failPlug(const std::string& error) {
  change(State::kUnplugged);
  for (const auto& done : std::exchange(plugging_, {}))
    done(error);
}

void Camera::finishPlug() {
  for (const auto& done : std::exchange(plugging_, {}))
    done({});
}

void Camera::connect() {
  if (connection_) return;
  connection_ = std::make_unique<Connection>(
      loop_,
      Connection::Events{[this] { pw_loop_signal_event(loop_, lostEvent_.get()); },
                         [this] { completePlug(); }, [this](int sequence) { completeUnplug(sequence); }});
}

void Camera::completePlug() {
  if (state_ != State::kUnplugged || !stream_ || !connection_->serial(stream_->nodeId())) return;
  change(State::kIdle);
  finishPlug();
}

void Camera::leaveRegistry() {
  setTimer(timer_, 0, 0);
  setTimer(nodeTimer_, 0, 0);
  stream_.reset();
  device_.reset();
  deviceId_.reset();
  format_.reset();
  for (const auto& done : std::exchange(plugging_, {}))
    done("unplugged meanwhile");
  change(State::kUnplugged);
}

void Camera::unplug(Done done) {
  leaveRegistry();
  if (!connection_) {
    change(State::kUnplugged);
    return done({});
  }
  unplugging_.emplace(connection_->synchronize(), std::move(done));
}

void Camera::completeUnplug(int sequence) {
  const auto found = unplugging_.find(sequence);
  if (found == unplugging_.end()) return;
  const auto done = std::move(found->second);
  unplugging_.erase(found);
  if (!stream_) change(State::kUnplugged);
  done({});
}

void Camera::loseDaemon() {
  const bool wasPlugged = stream_ != nullptr;
  leaveRegistry();
  connection_.reset();
  // Without a daemon there is no registry that could still show the node.
  for (const auto& [sequence, done] : std::exchange(unplugging_, {}))
    done({});
  if (wasPlugged) change(State::kLost);
}

void Camera::resume() {
  stalled_ = false;
  faults_.stall.reset();
}

void Camera::breakDevice() {
  if (!stream_) return;
  setTimer(timer_, 0, 0);
  stream_->fail(EIO, "the device failed");
  change(State::kFailed);
}

void Camera::suspend() {
  faults_.suspend.reset();
  if (stream_) connection_->suspendNode(stream_->nodeId());
}

bool Camera::isOffered(const NegotiatedFormat& format) const {
  return std::any_of(spec_.modes.begin(), spec_.modes.end(), [&](const Mode& mode) {
    return mode.format == format.format && mode.width == format.width && mode.height == format.height &&
           std::find(mode.rates.begin(), mode.rates.end(),
                     Rate(format.rateNumerator, format.rateDenominator)) != mode.rates.end();
  });
}

void Camera::offer(std::vector<Mode> modes) {
  spec_.modes = std::move(modes);
  if (!stream_) return;
  stream_->offer(spec_.modes);
  if (state_ != State::kStreaming || isOffered(*format_)) return;
  // What the sensor sends now is another picture, which nobody has asked for.
  setTimer(timer_, 0, 0);
  change(State::kIdle);
}

FrameLayout Camera::chooseFormat(const NegotiatedFormat& format) {
  refuseWhileBusy();
  format_ = format;
  const bool anySize = format.width == 0;
  frames_ = &store_.prepare(format.format, anySize ? kOwnWidth : format.width,
                            anySize ? kOwnHeight : format.height);
  return frames_->layout();
}

void Camera::refuseWhileBusy() {
  if (!faults_.busy || faults_.tellsBusy) return;
  awaitRelease();
  throw std::system_error(EBUSY, std::generic_category());
}

// Not at the choice of the format: the daemon keeps one that was chosen, and asks only once.
bool Camera::tellsThatItIsBusy() {
  if (!faults_.busy || !faults_.tellsBusy) return false;
  awaitRelease();
  // The daemon's words for a device that does not take its format.
  connection_->tellConsumers(stream_->nodeId(), EBUSY,
                             "error set output format: -16 (Device or resource busy)");
  return true;
}

void Camera::awaitRelease() {
  // The first refusal tells how long: whoever asks again meanwhile does not prolong it.
  if (const auto busyFor = std::exchange(faults_.busyFor, std::nullopt))
    setTimer(releaseTimer_, *busyFor * kMillisecond, 0);
}

void Camera::release() {
  faults_.busy = false;
  // A stream that refused a format is of no more use.
  if (state_ == State::kFailed) plug([](const std::string&) {});
}

void Camera::streamStateChanged(pw_stream_state state) {
  switch (state) {
    case PW_STREAM_STATE_STREAMING:
      startRun();
      break;
    case PW_STREAM_STATE_PAUSED:
      setTimer(timer_, 0, 0);
      if (state_ == State::kStreaming) endRun();
      completePlug();
      break;
    case PW_STREAM_STATE_ERROR:
      setTimer(timer_, 0, 0);
      change(State::kFailed);
      break;
    case PW_STREAM_STATE_UNCONNECTED:
    case PW_STREAM_STATE_CONNECTING:
      break;
  }
}

void Camera::startRun() {
  if (!format_ || tellsThatItIsBusy()) return;
  ++runs_;
  runFrames_ = 0;
  runTime_ = 0;
  withheld_ = false;
  const auto interval = kSecond * format_->rateDenominator / format_->rateNumerator;
  // As with a real sensor, even the first frame takes its time; it is also the time in which the consumer
  // starts.
  setTimer(timer_, spec_.startDelay * kMillisecond + interval, interval);
  change(State::kStreaming);
}

void Camera::endRun() {
  change(State::kIdle);
  // PipeWire keeps a camera's buffers for its next user, until the node is suspended.
  if (stream_->giveMemory() || stream_->lacksBuffers()) connection_->suspendNode(stream_->nodeId());
}

void Camera::setTimer(const Source& timer, std::uint64_t firstNanoseconds,
                      std::uint64_t intervalNanoseconds) {
  auto first = toTimespec(firstNanoseconds);
  auto interval = toTimespec(intervalNanoseconds);
  pw_loop_update_timer(loop_, timer.get(), &first, &interval, false);
}

void Camera::tick(std::uint64_t expirations) {
  if (state_ != State::kStreaming) return;
  runTime_ += expirations;
  if (reached(faults_.crash, runFrames_)) std::_Exit(EXIT_FAILURE);
  if (reached(faults_.unplug, runFrames_)) return unplug([](const std::string&) {});
  if (reached(faults_.error, runFrames_)) return breakDevice();
  if (reached(faults_.suspend, runFrames_)) return suspend();
  if (isSilent()) {
    withheld_ = true;
    return changed_();
  }
  ++sequence_;
  if (spec_.drop > 0 && sequence_ % spec_.drop == 0) return;
  stream_->deliver();
}

bool Camera::isSilent() const {
  return stalled_ || reached(faults_.stall, runFrames_) ||
         (runs_ == 1 && reached(faults_.stallOnce, runFrames_)) ||
         reached(faults_.silentFrom, format_->width);
}

std::uint8_t Camera::light() const {
  if (faults_.black.contains(runFrames_)) return 0;
  // Exposure settles with time, whether or not the frames arrive.
  if (runTime_ <= spec_.warmup) return kDark;
  if (spec_.exposure == 0) return kFullLight;
  const auto milliseconds = (runTime_ - 1) * 1000 * format_->rateDenominator / format_->rateNumerator;
  if (milliseconds >= spec_.exposure) return kFullLight;
  return static_cast<std::uint8_t>(kDark + (kFullLight - kDark) * milliseconds / spec_.exposure);
}

FrameResult Camera::fill(std::span<std::uint8_t> room) {
  const auto frame = runFrames_;
  auto size = frames_->write(sequence_, light(), room);
  if (format_->format == PixelFormat::kMjpg && faults_.damaged.contains(frame)) {
    const auto damaged = damagedJpeg({room.begin(), room.begin() + static_cast<std::ptrdiff_t>(size)});
    std::copy(damaged.begin(), damaged.end(), room.begin());
    size = damaged.size();
  }
  if (faults_.truncated.contains(frame) && format_->format == PixelFormat::kMjpg) size /= 3;
  if (faults_.empty.contains(frame)) size = 0;
  recorder_.record(sequence_, format_->format, room.first(size));
  ++runFrames_;
  ++totalFrames_;
  changed_();
  FrameResult result{size, sequence_};
  result.corrupted = faults_.corruptedFlag.contains(frame);
  result.offsetPastEnd = faults_.offsetPastEnd.contains(frame);
  result.timeBackwards = faults_.timeBackwards.contains(frame);
  result.noStride = faults_.noStride;
  result.negativeStride = faults_.negativeStride;
  return result;
}

void Camera::change(State state) {
  state_ = state;
  changed_();
}

std::string Camera::describe() const {
  const auto serial = stream_ ? connection_->serial(stream_->nodeId()) : std::nullopt;
  std::string text = std::string("state=") + stateName(state_);
  text += " stalled=" + std::string(withheld_ ? "yes" : "no");
  text += " runs=" + std::to_string(runs_);
  text += " run-frames=" + std::to_string(runFrames_);
  text += " total-frames=" + std::to_string(totalFrames_);
  if (serial) text += " serial=" + std::to_string(*serial);
  if (format_) {
    text += " mode=" + std::string(formatName(format_->format)) + ":" + std::to_string(format_->width) + "x" +
            std::to_string(format_->height) + "@" + std::to_string(format_->rateNumerator);
    if (format_->rateDenominator != 1) text += "/" + std::to_string(format_->rateDenominator);
  }
  return text;
}

void Camera::onTick(void* data, std::uint64_t expirations) noexcept {
  static_cast<Camera*>(data)->tick(expirations);
}

void Camera::onNodeTime(void* data, std::uint64_t /*expirations*/) noexcept {
  static_cast<Camera*>(data)->enterNode();
}

void Camera::onRelease(void* data, std::uint64_t /*expirations*/) noexcept {
  static_cast<Camera*>(data)->release();
}

void Camera::onLost(void* data, std::uint64_t /*count*/) noexcept {
  static_cast<Camera*>(data)->loseDaemon();
}

}  // namespace virtual_camera
