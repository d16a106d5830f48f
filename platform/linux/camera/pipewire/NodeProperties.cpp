#include "platform/linux/camera/pipewire/NodeProperties.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <map>
#include <span>
#include <tuple>

#include <pipewire/keys.h>

namespace platform_linux {
namespace {

// Keys of session managers' monitors that libpipewire has no names for.
constexpr const char* kDeviceNumbers = "device.devids";
constexpr const char* kVideo4LinuxPath = "api.v4l2.path";
constexpr const char* kLibcameraPath = "api.libcamera.path";

/// What nodes of shared screens are called by compositors, desktop portals and programs.
constexpr std::array<std::string_view, 9> kScreenNames{"screen",         "desktop-portal", "kwin",
                                                       "gamescope",      "mutter",         "gnome-shell",
                                                       "remote-desktop", "wlroots",        "monitor"};
/// What makes one of several nodes of one name the same one next time, the steadiest first.
constexpr std::array kTellingApart{"device.serial",   "api.v4l2.path", "api.libcamera.path", "object.path",
                                   "device.bus-path", "node.nick",     "node.description"};

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return lower;
}

template <typename Words>
bool containsAny(std::string_view text, const Words& words) {
  const std::string lower = lowerCase(text);
  return std::any_of(words.begin(), words.end(),
                     [&](auto word) { return lower.find(word) != std::string::npos; });
}

}  // namespace

void NodeProperties::merge(const spa_dict& dictionary) {
  for (const auto& item : std::span(dictionary.items, dictionary.n_items))
    if (item.key && item.value) values_[item.key] = item.value;
}

std::string_view NodeProperties::get(const std::string& key) const {
  const auto found = values_.find(key);
  return found != values_.end() ? std::string_view(found->second) : std::string_view();
}

bool NodeProperties::isVideo4Linux() const {
  return get(PW_KEY_DEVICE_API) == "v4l2" || !get(kVideo4LinuxPath).empty();
}

bool NodeProperties::isLibcamera() const {
  return get(PW_KEY_DEVICE_API) == "libcamera" || !get(kLibcameraPath).empty();
}

bool NodeProperties::isDevice() const {
  return isVideo4Linux() || isLibcamera();
}

bool NodeProperties::isScreen() const {
  const auto role = get(PW_KEY_MEDIA_ROLE);
  if (!role.empty()) return role != "Camera";
  for (const char* key : {PW_KEY_NODE_NAME, PW_KEY_NODE_DESCRIPTION, PW_KEY_NODE_NICK, PW_KEY_MEDIA_NAME,
                          PW_KEY_APP_NAME, PW_KEY_APP_PROCESS_BINARY})
    if (containsAny(get(key), kScreenNames)) return true;
  return false;
}

bool NodeProperties::isPartOfACamera() const {
  for (const char* key : {PW_KEY_NODE_NAME, PW_KEY_NODE_DESCRIPTION, PW_KEY_NODE_NICK, "api.v4l2.cap.card",
                          "api.v4l2.cap.driver", PW_KEY_DEVICE_PRODUCT_NAME})
    if (isCalledAPartOfACamera(get(key))) return true;
  return false;
}

bool NodeProperties::isCamera() const {
  if (!get(PW_KEY_MEDIA_CLASS).starts_with("Video/Source")) return false;
  if (isDevice()) return get(PW_KEY_MEDIA_ROLE) != "Screen" && !(isVideo4Linux() && isPartOfACamera());
  return !isScreen();
}

std::string NodeProperties::title() const {
  for (const char* key : {PW_KEY_NODE_NICK, PW_KEY_NODE_DESCRIPTION, PW_KEY_NODE_NAME})
    if (const auto title = get(key); !title.empty()) return plainTitle(std::string(title));
  return {};
}

std::set<std::string> NodeProperties::deviceNumbers() const {
  // Numbers, in a list or alone: "20736", "[ 20736, 20737 ]".
  std::set<std::string> numbers;
  std::string number;
  for (const char letter : std::string(get(kDeviceNumbers)) + ' ') {
    if (std::isdigit(static_cast<unsigned char>(letter)) != 0) {
      number += letter;
    } else if (!number.empty()) {
      numbers.insert(number);
      number.clear();
    }
  }
  return numbers;
}

Camera NodeProperties::camera(std::vector<CameraMode> modes) const {
  Camera camera;
  camera.uniqueID = get(PW_KEY_NODE_NAME);
  camera.localizedName = title();
  camera.serial = std::strtoull(std::string(get(PW_KEY_OBJECT_SERIAL)).c_str(), nullptr, 10);
  camera.priority = std::atoi(std::string(get(PW_KEY_PRIORITY_SESSION)).c_str());
  camera.place = get(kVideo4LinuxPath);
  camera.knowsRangeOfRgb = !isLibcamera();
  const bool isLoopback = isLoopbackDriver(get("api.v4l2.cap.driver")) || get(PW_KEY_NODE_VIRTUAL) == "true";
  camera.kind = isLoopback ? CameraKind::Virtual : cameraKind(camera.localizedName, modes);
  camera.modes = std::move(modes);
  return camera;
}

namespace {

// A camera that is put together of several devices, none of which is one: a sensor and its image processor.
bool isComposed(const NodeEntry& node) {
  return !node.properties.isVideo4Linux() && node.properties.deviceNumbers().size() > 1;
}

// Whether both nodes are ways to one device, of which `better` is the one to keep: the kernel's own, but for
// devices that are parts of a camera.
bool isWorseThan(const NodeEntry& node, const NodeEntry& better) {
  if (node.properties.isVideo4Linux() == better.properties.isVideo4Linux()) return false;
  const auto numbers = node.properties.deviceNumbers();
  const auto others = better.properties.deviceNumbers();
  const bool isSameDevice =
      std::any_of(numbers.begin(), numbers.end(), [&](auto& number) { return others.contains(number); });
  return isSameDevice && (isComposed(better) || (better.properties.isVideo4Linux() && !isComposed(node)));
}

// Two digits of a count are as many as session managers try.
std::string withoutCount(const std::string& name) {
  const auto dot = name.find_last_of('.');
  if (dot == std::string::npos) return name;
  const std::string count = name.substr(dot + 1);
  const bool isCount = !count.empty() && count.size() <= 2 && count[0] != '0' && count != "1" &&
                       count.find_first_not_of("0123456789") == std::string::npos;
  return isCount ? name.substr(0, dot) : name;
}

// By the numbers of their devices: /dev/video2 before /dev/video10.
bool hasLowerNumber(const NodeEntry* a, const NodeEntry* b) {
  return std::tuple(a->camera.place.size(), a->camera.place) <
         std::tuple(b->camera.place.size(), b->camera.place);
}

// The names that nodes of these devices have when they are not counted.
std::set<std::string> nodeNames(const std::set<std::string>& deviceNames) {
  constexpr std::string_view kDevice = "v4l2_device.";
  std::set<std::string> names;
  for (const auto& name : deviceNames)
    if (name.starts_with(kDevice)) names.insert("v4l2_input." + name.substr(kDevice.size()));
  return names;
}

// Devices in one socket have one name at WirePlumber 0.5, and at 0.4 they are counted in the order in which
// it hears of them, those that send no pictures among them. Their cameras are counted by the numbers of their
// devices instead, as those of the kernel are without a daemon.
void countInSockets(std::vector<NodeEntry>& nodes, std::set<std::string> names) {
  for (const auto& node : nodes)
    if (!node.camera.place.empty()) names.insert(node.camera.uniqueID);
  std::map<std::string, std::vector<NodeEntry*>> sockets;
  for (auto& node : nodes) {
    if (node.camera.place.empty()) continue;
    const std::string name = withoutCount(node.camera.uniqueID);
    sockets[names.contains(name) ? name : node.camera.uniqueID].push_back(&node);
  }
  for (auto& [name, cameras] : sockets) {
    std::sort(cameras.begin(), cameras.end(), hasLowerNumber);
    for (std::size_t i = 0; i < cameras.size(); ++i)
      cameras[i]->camera.uniqueID = i == 0 ? name : name + "." + std::to_string(i + 1);
  }
}

// The value of the first property that tells all of these nodes apart; none when there is none.
const char* keyThatTellsApart(std::span<const NodeEntry> nodes) {
  for (const char* key : kTellingApart) {
    std::set<std::string_view> values;
    for (const auto& node : nodes)
      values.insert(node.properties.get(key));
    if (values.size() == nodes.size() && !values.contains({})) return key;
  }
  return nullptr;
}

void tellApart(std::span<NodeEntry> twins) {
  const char* const key = keyThatTellsApart(twins);
  const auto value = [&](const NodeEntry& node) {
    return key ? node.properties.get(key) : std::string_view();
  };
  std::sort(twins.begin(), twins.end(), [&](auto& a, auto& b) {
    return std::tuple(value(a), a.camera.serial) < std::tuple(value(b), b.camera.serial);
  });
  for (std::size_t i = 1; i < twins.size(); ++i)
    twins[i].camera.uniqueID += "#" + (key ? std::string(value(twins[i])) : std::to_string(i + 1));
}

}  // namespace

std::vector<Camera> distinctCameras(std::vector<NodeEntry> nodes, const std::set<std::string>& deviceNames) {
  std::erase_if(nodes, [all = nodes](const NodeEntry& node) {
    return std::any_of(all.begin(), all.end(), [&](auto& other) { return isWorseThan(node, other); });
  });
  countInSockets(nodes, nodeNames(deviceNames));
  std::sort(nodes.begin(), nodes.end(),
            [](auto& a, auto& b) { return a.camera.uniqueID < b.camera.uniqueID; });
  for (auto first = nodes.begin(); first != nodes.end();) {
    const auto end = std::find_if(first, nodes.end(), [name = first->camera.uniqueID](auto& each) {
      return each.camera.uniqueID != name;
    });
    if (end - first > 1) tellApart(std::span(first, end));
    first = end;
  }
  std::vector<Camera> cameras;
  for (auto& node : nodes)
    cameras.push_back(std::move(node.camera));
  std::sort(cameras.begin(), cameras.end(), comesBefore);
  return cameras;
}

}  // namespace platform_linux
