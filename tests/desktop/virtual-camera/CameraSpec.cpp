#include "tests/desktop/virtual-camera/CameraSpec.h"

#include <functional>
#include <map>
#include <stdexcept>
#include <utility>

#include "tests/desktop/virtual-camera/SpecText.h"

namespace virtual_camera {
namespace {

constexpr std::uint32_t kMostMilliseconds = 600'000;

/// The value that a word stands for.
template <typename Value>
Value choose(const std::string& text, std::initializer_list<std::pair<std::string_view, Value>> choices) {
  std::string words;
  for (const auto& [word, value] : choices) {
    if (word == text) return value;
    words += (words.empty() ? "" : ", ") + std::string(word);
  }
  refuse("one of " + words + " is expected, not", text);
}

/// "unstated", "stated", or a matrix and a range as in "bt709-full", which are stated;
/// "unstated-bt709-limited" is how a camera works that says nothing.
Colorimetry parseColorimetry(const std::string& text) {
  using Matrix = Colorimetry::Matrix;
  using Range = Colorimetry::Range;
  if (text == "unstated") return {};
  if (text == "stated") return {true};
  const std::string silence = "unstated-";
  const bool stated = !text.starts_with(silence);
  const auto [matrix, range] = cut(stated ? text : text.substr(silence.size()), '-');
  return {stated,
          choose<Matrix>(matrix, {{"bt601", Matrix::kBt601},
                                  {"bt709", Matrix::kBt709},
                                  {"bt2020", Matrix::kBt2020},
                                  {"smpte240m", Matrix::kSmpte240m}}),
          choose<Range>(range, {{"limited", Range::kLimited}, {"full", Range::kFull}})};
}

void addProperty(Properties& properties, const std::string& text) {
  if (text.find('=') == std::string::npos) refuse("NAME=VALUE is expected, not", text);
  properties.push_back(cut(text, '='));
}

void setTransform(CameraSpec& spec, const std::string& text) {
  spec.transformStated = true;
  spec.transform = choose<Transform>(text, {{"none", Transform::kNone},
                                            {"90", Transform::k90},
                                            {"180", Transform::k180},
                                            {"270", Transform::k270},
                                            {"flipped", Transform::kFlipped},
                                            {"flipped-90", Transform::kFlipped90},
                                            {"flipped-180", Transform::kFlipped180},
                                            {"flipped-270", Transform::kFlipped270}});
}

void setModes(CameraSpec& spec, const std::string& text) {
  spec.modes = parseModes(text);
  spec.withoutModes = spec.modes.empty();
}

using Setter = std::function<void(CameraSpec&, const std::string&)>;

Setter text(std::string CameraSpec::*member) {
  return [member](CameraSpec& spec, const std::string& value) { spec.*member = value; };
}

Setter milliseconds(std::uint32_t CameraSpec::*member) {
  return [member](CameraSpec& spec, const std::string& value) {
    spec.*member = parseNumber<std::uint32_t>(value, 0, kMostMilliseconds);
  };
}

Setter bytes(std::size_t CameraSpec::*member) {
  return [member](CameraSpec& spec, const std::string& value) {
    spec.*member = parseNumber<std::size_t>(value, 0, 65536);
  };
}

Setter properties(Properties CameraSpec::*member) {
  return [member](CameraSpec& spec, const std::string& value) { addProperty(spec.*member, value); };
}

using Table = std::map<std::string, Setter, std::less<>>;
using Spec = CameraSpec;
using Value = const std::string&;

/// What is in the registry.
const Table& registryKeys() {
  static const Table table{
      {"name", text(&Spec::name)},
      {"title", text(&Spec::title)},
      {"property", properties(&Spec::properties)},
      {"device", text(&Spec::device)},
      {"device-property", properties(&Spec::deviceProperties)},
      {"node-delay", milliseconds(&Spec::nodeDelay)},
      {"modes", setModes},
  };
  return table;
}

/// What the frames show and how they are coded.
const Table& pictureKeys() {
  static const Table table{
      {"picture", [](Spec& spec, Value value) { spec.pictures.push_back(value); }},
      {"tint",
       [](Spec& spec, Value value) { spec.tint = parseNumber<std::uint32_t>(value, 0, 0xffffff, 16); }},
      {"quality", [](Spec& spec, Value value) { spec.jpeg.quality = parseNumber(value, 1, 100); }},
      {"noise", [](Spec& spec, Value value) { spec.noise = parseNumber(value, 0, 127); }},
      {"jpeg",
       [](Spec& spec, Value value) {
         for (const auto& word : split(value, '+'))
           parseJpegWord(word, spec.jpeg);
       }},
      {"colorimetry", [](Spec& spec, Value value) { spec.colorimetry = parseColorimetry(value); }},
      {"transform", setTransform},
      {"warmup",
       [](Spec& spec, Value value) {
         spec.warmup = parseNumber<std::uint64_t>(value, 0, FrameRange::kForever - 1);
       }},
      {"exposure", milliseconds(&Spec::exposure)},
  };
  return table;
}

/// How they are delivered.
const Table& deliveryKeys() {
  static const Table table{
      {"padding", bytes(&Spec::padding)},
      {"lead", bytes(&Spec::lead)},
      {"memory",
       [](Spec& spec, Value value) {
         spec.memory = choose<Memory>(value, {{"any", Memory::kAny},
                                              {"memfd", Memory::kMemFd},
                                              {"memptr", Memory::kMemPtr},
                                              {"dmabuf", Memory::kDmaBuf}});
       }},
      {"blocks",
       [](Spec& spec, Value value) {
         spec.blocks = choose<Blocks>(
             value, {{"one", Blocks::kOne}, {"each", Blocks::kEach}, {"shared", Blocks::kShared}});
       }},
      {"buffers", [](Spec& spec, Value value) { spec.buffers = parseNumber(value, 1, 64); }},
      {"start-delay", milliseconds(&Spec::startDelay)},
      {"drop", [](Spec& spec,
                  Value value) { spec.drop = parseNumber<std::uint64_t>(value, 2, FrameRange::kForever); }},
      {"idle",
       [](Spec& spec, Value value) {
         spec.idle = choose<Idle>(value, {{"pause", Idle::kPause}, {"run", Idle::kRun}});
       }},
      {"log", text(&Spec::log)},
      {"dump", text(&Spec::dump)},
      {"fault", [](Spec& spec, Value value) { parseFault(value, spec.faults); }},
  };
  return table;
}

const Setter* findSetter(const std::string& key) {
  for (const auto* table : {&registryKeys(), &pictureKeys(), &deliveryKeys()}) {
    if (const auto found = table->find(key); found != table->end()) return &found->second;
  }
  return nullptr;
}

}  // namespace

std::vector<Mode> commonModes() {
  return parseModes(
      "MJPG:1280x720@30/15+MJPG:640x480@30/15+MJPG:1920x1080@30/15+YUY2:640x480@30/15+YUY2:1280x720@10+"
      "YUY2:1920x1080@5+NV12:640x480@30/15");
}

CameraSpec parseCameraSpec(std::string_view text) {
  CameraSpec spec;
  for (const auto& field : split(text, ',', true)) {
    const auto [key, value] = cut(field, '=');
    const auto* setter = findSetter(key);
    if (setter == nullptr || field.find('=') == std::string::npos)
      refuse("not a key=value that a camera knows", field);
    try {
      (*setter)(spec, value);
    } catch (const std::invalid_argument& error) {
      throw std::invalid_argument(key + ": " + error.what());
    }
  }
  if (spec.name.empty()) refuse("a camera needs a name", text);
  if (spec.modes.empty() && spec.pictures.empty() && !spec.withoutModes) spec.modes = commonModes();
  return spec;
}

}  // namespace virtual_camera
