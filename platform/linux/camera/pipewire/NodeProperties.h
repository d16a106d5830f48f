#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <spa/utils/dict.h>

#include "platform/linux/camera/Camera.h"

namespace platform_linux {

/// What the daemon says of a node.
class NodeProperties {
 public:
  /// Takes over what `dictionary` states; the rest stays.
  void merge(const spa_dict& dictionary);

  /// Empty when it is not stated.
  [[nodiscard]] std::string_view get(const std::string& key) const;

  /// Whether the node is a camera: its role says so, or its device is one, or nothing speaks against it. A
  /// shared screen never is, whatever else it says: nobody wants it photographed for want of a camera. Nor
  /// are sensors that need an image processor's pipeline, and nodes of metadata.
  [[nodiscard]] bool isCamera() const;
  /// The bare name: without what tells the way to the device, and not twice.
  [[nodiscard]] std::string title() const;
  /// The numbers of the devices behind the node; the same for all ways to one camera.
  [[nodiscard]] std::set<std::string> deviceNumbers() const;
  [[nodiscard]] bool isVideo4Linux() const;

  /// A camera of these properties, its identity not yet told from others of the same name.
  [[nodiscard]] Camera camera(std::vector<CameraMode> modes) const;

 private:
  [[nodiscard]] bool isLibcamera() const;
  [[nodiscard]] bool isDevice() const;
  [[nodiscard]] bool isScreen() const;
  [[nodiscard]] bool isPartOfACamera() const;

  std::map<std::string, std::string, std::less<>> values_;
};

/// A camera's node as the list sees it.
struct NodeEntry {
  NodeProperties properties;
  Camera camera;
};

/// The cameras of these nodes: a device that is shown twice, by V4L2 and by libcamera, once, by V4L2 where
/// that can be used, but by libcamera where it puts several devices together; and cameras of one node name
/// told apart: those of the kernel by the order of their devices' numbers, whatever count their names bear,
/// others by what else is known of them. The first of them keeps the bare name, so that a stored choice goes
/// on meaning it. `deviceNames` are those of all devices that the daemon knows (`device.name`), also of those
/// without a node.
[[nodiscard]] std::vector<Camera> distinctCameras(std::vector<NodeEntry> nodes,
                                                  const std::set<std::string>& deviceNames = {});

}  // namespace platform_linux
