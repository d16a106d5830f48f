#include "tests/desktop/virtual-camera/CameraCommands.h"

#include <charconv>
#include <map>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace virtual_camera {
namespace {

std::optional<std::uint64_t> parseCount(const std::string& text) {
  std::uint64_t count = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return count;
}

FrameRange all(bool on) {
  return on ? FrameRange{0, FrameRange::kForever} : FrameRange{};
}

Camera::Done answer(Reply reply, const Camera& camera) {
  return [reply = std::move(reply), &camera](const std::string& error) {
    if (error.empty())
      reply.ok(camera.describe());
    else
      reply.error(error);
  };
}

}  // namespace

CameraCommands::CameraCommands(Camera& camera, std::function<void()> exit)
    : camera_(camera), exit_(std::move(exit)) {
  camera_.whenChanged([this] { answerWaiters(); });
}

void CameraCommands::handle(const std::string& request, Reply reply) {
  std::istringstream words(request);
  std::string verb;
  std::string value;
  std::string surplus;
  words >> verb >> value >> surplus;
  if (!surplus.empty()) return reply.error("too many words: " + request);
  if (handleWait(verb, value, reply)) return;
  if (handleFault(verb, value)) return reply.ok(camera_.describe());
  if (verb == "modes") return offerModes(value, reply);
  if (!value.empty()) return reply.error("no such request: " + request);
  if (verb == "plug") return camera_.plug(answer(std::move(reply), camera_));
  if (verb == "unplug") return camera_.unplug(answer(std::move(reply), camera_));
  if (verb == "exit") {
    reply.ok();
    return exit_();
  }
  if (verb == "stall")
    camera_.stall();
  else if (verb == "resume")
    camera_.resume();
  else if (verb == "error")
    camera_.breakDevice();
  else if (verb == "suspend")
    camera_.suspend();
  else if (verb != "state")
    return reply.error("no such request: " + request);
  reply.ok(camera_.describe());
}

void CameraCommands::offerModes(const std::string& modes, const Reply& reply) {
  try {
    camera_.offer(parseModes(modes));
    reply.ok(camera_.describe());
  } catch (const std::invalid_argument& error) {
    reply.error(error.what());
  }
}

bool CameraCommands::handleFault(const std::string& fault, const std::string& value) {
  if (value != "on" && value != "off") return false;
  const bool on = value == "on";
  auto& faults = camera_.faults();
  if (fault == "truncate")
    faults.truncated = all(on);
  else if (fault == "corrupted-flag")
    faults.corruptedFlag = all(on);
  else if (fault == "empty")
    faults.empty = all(on);
  else if (fault == "damage")
    faults.damaged = FrameShare{on ? 1U : 0U, 1};
  else if (fault == "busy")
    faults.busy = on;
  else if (fault == "told-busy")
    faults.busy = faults.tellsBusy = on;
  else
    return false;
  return true;
}

bool CameraCommands::handleWait(const std::string& event, const std::string& value, const Reply& reply) {
  auto met = condition(event, value);
  if (!met) return false;
  waiters_.push_back({std::move(met), reply});
  answerWaiters();
  return true;
}

std::function<bool()> CameraCommands::condition(const std::string& event, const std::string& value) {
  using State = Camera::State;
  static const std::map<std::string, State> kStates{{"wait-streaming", State::kStreaming},
                                                    {"wait-idle", State::kIdle},
                                                    {"wait-unplugged", State::kUnplugged},
                                                    {"wait-failed", State::kFailed},
                                                    {"wait-lost", State::kLost}};
  if (event == "wait-frames") {
    const auto count = parseCount(value);
    if (!count) return {};
    return [this, count] { return camera_.state() == State::kStreaming && camera_.runFrames() >= *count; };
  }
  if (!value.empty()) return {};
  if (event == "wait-stalled") return [this] { return camera_.withheld(); };
  const auto state = kStates.find(event);
  if (state == kStates.end()) return {};
  return [this, wanted = state->second] { return camera_.state() == wanted; };
}

void CameraCommands::answerWaiters() {
  std::erase_if(waiters_, [this](const Waiter& waiter) {
    if (!waiter.reply.wanted()) return true;
    if (!waiter.met()) return false;
    waiter.reply.ok(camera_.describe());
    return true;
  });
}

}  // namespace virtual_camera
