#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include <spa/param/param.h>
#include <spa/pod/pod.h>

#include "platform/linux/camera/CameraMode.h"

namespace platform_linux {

/// The formats that a node, or a port of it, states: `EnumFormat` parameters, whose answers come one by one.
/// On the loop's thread only.
class StatedFormats {
 public:
  /// To be called with the parameters that are there now. True when the formats must be asked for, as they
  /// are new or have changed.
  [[nodiscard]] bool mustBeAskedFor(std::span<const spa_param_info> parameters);
  /// One of the answers.
  void add(const spa_pod* format);
  /// What was asked for has been answered: it counts from now on.
  void finish();

  /// Those that can be decoded.
  [[nodiscard]] const std::vector<CameraMode>& modes() const { return told_.modes; }
  /// The formats that cannot be decoded, for people.
  [[nodiscard]] const std::set<std::string>& codedFormats() const { return told_.codedFormats; }

 private:
  struct Answer {
    std::vector<CameraMode> modes;
    std::set<std::string> codedFormats;
  };

  Answer told_;
  std::optional<Answer> incoming_;      // while an answer is awaited
  std::optional<std::uint32_t> flags_;  // of the parameter, one of which changes whenever its values do
};

}  // namespace platform_linux
