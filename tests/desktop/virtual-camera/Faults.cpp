#include "tests/desktop/virtual-camera/Faults.h"

#include <functional>
#include <map>

#include "tests/desktop/virtual-camera/SpecText.h"

namespace virtual_camera {
namespace {

std::uint64_t parseFrame(std::string_view text) {
  return parseNumber<std::uint64_t>(text, 0, FrameRange::kForever - 1);
}

FrameRange parseRange(const std::string& text) {
  const auto [first, last] = cut(text, '-');
  FrameRange range{parseFrame(first), FrameRange::kForever};
  if (text.find('-') != std::string::npos) range.last = parseFrame(last);
  if (range.last < range.first) refuse("a range that ends before it starts", text);
  return range;
}

FrameShare parseShare(const std::string& text) {
  const auto [part, whole] = cut(text, '/');
  const auto frames = parseNumber<std::uint64_t>(whole, 1, FrameRange::kForever);
  return {parseNumber<std::uint64_t>(part, 0, frames), frames};
}

using Setter = std::function<void(Faults&, const std::string&)>;

Setter after(std::optional<std::uint64_t> Faults::*member) {
  return [member](Faults& faults, const std::string& when) { faults.*member = parseFrame(when); };
}

Setter during(FrameRange Faults::*member) {
  return [member](Faults& faults, const std::string& when) { faults.*member = parseRange(when); };
}

Setter always(bool Faults::*member) {
  return [member](Faults& faults, const std::string& when) {
    if (!when.empty()) refuse("takes no number", when);
    faults.*member = true;
  };
}

void setBusy(Faults& faults, const std::string& when) {
  faults.busy = true;
  if (!when.empty()) faults.busyFor = parseFrame(when);
}

void setToldBusy(Faults& faults, const std::string& when) {
  setBusy(faults, when);
  faults.tellsBusy = true;
}

const std::map<std::string, Setter, std::less<>>& setters() {
  static const std::map<std::string, Setter, std::less<>> table{
      {"stall", after(&Faults::stall)},
      {"stall-once", after(&Faults::stallOnce)},
      {"silent-from", after(&Faults::silentFrom)},
      {"error", after(&Faults::error)},
      {"unplug", after(&Faults::unplug)},
      {"crash", after(&Faults::crash)},
      {"suspend", after(&Faults::suspend)},
      {"truncated", during(&Faults::truncated)},
      {"corrupted-flag", during(&Faults::corruptedFlag)},
      {"empty", during(&Faults::empty)},
      {"black", during(&Faults::black)},
      {"offset-past-end", during(&Faults::offsetPastEnd)},
      {"time-backwards", during(&Faults::timeBackwards)},
      {"no-stride", always(&Faults::noStride)},
      {"negative-stride", always(&Faults::negativeStride)},
      {"without-memory", always(&Faults::withoutMemory)},
      {"no-buffers", always(&Faults::noBuffers)},
      {"damaged", [](Faults& faults, const std::string& share) { faults.damaged = parseShare(share); }},
      {"busy", setBusy},
      {"told-busy", setToldBusy},
  };
  return table;
}

}  // namespace

void parseFault(const std::string& text, Faults& faults) {
  const auto [kind, when] = cut(text, ':');
  const auto setter = setters().find(kind);
  if (setter == setters().end()) refuse("no such fault", text);
  setter->second(faults, when);
}

}  // namespace virtual_camera
