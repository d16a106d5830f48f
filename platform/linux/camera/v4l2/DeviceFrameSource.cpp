#include "platform/linux/camera/v4l2/DeviceFrameSource.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/linux/camera/v4l2/DeviceModes.h"
#include "platform/linux/camera/v4l2/DeviceSignal.h"
#include "platform/linux/camera/v4l2/DeviceStream.h"
#include "platform/linux/camera/v4l2/UdevDeviceFolder.h"

namespace platform_linux {
namespace {

std::set<std::string> formatNames(DeviceFile& file, std::uint32_t type) {
  std::set<std::string> names;
  for (const auto& format : readFormats(file, type))
    names.insert(format.name);
  return names;
}

}  // namespace

DeviceFrameSource::DeviceFrameSource(const std::filesystem::path& folder)
    : DeviceFrameSource(std::make_unique<KernelDeviceCalls>(folder),
                        std::make_unique<UdevDeviceFolder>(folder)) {}

DeviceFrameSource::DeviceFrameSource(std::unique_ptr<DeviceCalls> calls, std::unique_ptr<DeviceFolder> folder)
    : calls_(std::move(calls)), folder_(std::move(folder)), access_(*calls_) {}

DeviceFrameSource::~DeviceFrameSource() = default;

void DeviceFrameSource::start(CameraLoop& loop, FrameSource::Client& client) {
  loop_ = &loop;
  client_ = &client;
  loop.post([this] {
    // First of all, so that no device that comes meanwhile is missed.
    folder_->follow(*loop_, *this);
    devicesChanged();
  });
}

void DeviceFrameSource::stop() {
  folder_.reset();
  devices_.clear();
}

std::unique_ptr<FrameStream> DeviceFrameSource::open(const Camera& camera, const CameraMode& mode,
                                                     FrameStream::Client& client) {
  const auto found = std::find_if(devices_.begin(), devices_.end(), [&](auto& each) {
    return each.second.camera && each.second.camera->serial == camera.serial;
  });
  // Without a path the stream fails as one of a device that has gone.
  std::string path = found == devices_.end() ? std::string() : found->second.entry.path;
  // On a later turn, when the stream has given the device back.
  const auto signalChanged = [this, path] { loop_->post([this, path] { examineAgain(path); }); };
  return std::make_unique<DeviceStream>(streams_, *calls_, *loop_, std::move(path), mode, client,
                                        signalChanged);
}

void DeviceFrameSource::deviceGone(const std::string& path) {
  std::erase_if(devices_, [&](auto& each) { return each.second.entry.path == path; });
  // A copy: whoever is told may begin or end streams.
  for (DeviceStream* const stream : std::set(streams_))
    if (streams_.contains(stream) && stream->path() == path) stream->end(ENODEV);
}

void DeviceFrameSource::devicesChanged() {
  const std::vector<DeviceEntry> entries = folder_->devices();
  std::erase_if(devices_, [&](auto& each) {
    return std::find(entries.begin(), entries.end(), each.second.entry) == entries.end();
  });
  for (const DeviceEntry& entry : entries) {
    if (devices_.contains(entry.number)) continue;
    // Each may take its time over hundreds of questions; who waits for the first list knows that there are
    // some.
    if (!isListed_) tell(CameraCensus::State::Gathering);
    examine(entry);
  }
  isListed_ = true;
  tell();
}

void DeviceFrameSource::examine(const DeviceEntry& entry) {
  // A device that may not be opened has no name at the daemon either; its permissions may change later.
  if (const auto file = calls_->open(entry.path).first) devices_[entry.number] = read(*file, entry);
}

void DeviceFrameSource::examineAgain(const std::string& path) {
  const auto found = std::find_if(devices_.begin(), devices_.end(),
                                  [&](auto& each) { return each.second.entry.path == path; });
  const auto file = found != devices_.end() ? calls_->open(path).first : nullptr;
  if (!file) return;
  Device& device = found->second;
  const auto before = std::exchange(device, read(*file, device.entry)).camera;
  // It was not plugged in anew.
  if (before && device.camera) device.camera->serial = before->serial;
  tell();
}

void DeviceFrameSource::tell(CameraCensus::State state) {
  client_->camerasChanged(*this, {state, identifiedCameras(), notes()});
}

DeviceFrameSource::Device DeviceFrameSource::read(DeviceFile& file, const DeviceEntry& entry) {
  Device device{entry};
  DeviceAbilities abilities;
  if (readAbilities(file, abilities) != 0 || !abilities.isCapture) return device;
  if (isCalledAPartOfACamera(abilities.card) || isCalledAPartOfACamera(abilities.driver)) return device;
  adoptSignal(file);
  const std::uint32_t type = captureType(abilities.isMultiPlanar);
  Camera camera;
  camera.modes = readModes(file, type);
  camera.localizedName = deviceTitle(entry, abilities.card);
  if (camera.modes.empty()) {
    device.note = whyNotListed(camera.localizedName, formatNames(file, type));
    return device;
  }
  camera.serial = nextSerial_++;
  camera.kind = isLoopbackDriver(abilities.driver) ? CameraKind::Virtual
                                                   : cameraKind(camera.localizedName, camera.modes);
  camera.place = entry.path;
  device.camera = std::move(camera);
  return device;
}

std::vector<Camera> DeviceFrameSource::identifiedCameras() const {
  std::vector<Camera> cameras;
  std::vector<std::string> identities;
  for (const auto& [number, device] : devices_) {
    if (!device.camera) continue;
    identities.push_back(deviceIdentity(device.entry, identities));
    cameras.push_back(*device.camera);
    cameras.back().uniqueID = identities.back();
  }
  return cameras;
}

std::vector<std::string> DeviceFrameSource::notes() const {
  std::vector<std::string> notes;
  for (const auto& [number, device] : devices_)
    if (!device.note.empty()) notes.push_back(device.note);
  return notes;
}

}  // namespace platform_linux
