#include "platform/linux/camera/pipewire/StatedFormats.h"

#include <algorithm>
#include <utility>

#include "platform/linux/camera/pipewire/FormatPods.h"

namespace platform_linux {

bool StatedFormats::mustBeAskedFor(std::span<const spa_param_info> parameters) {
  const auto found = std::find_if(parameters.begin(), parameters.end(),
                                  [](auto& each) { return each.id == SPA_PARAM_EnumFormat; });
  const std::uint32_t flags = found != parameters.end() ? found->flags : 0;
  if (std::exchange(flags_, flags) == flags) return false;
  incoming_.emplace();
  return (flags & SPA_PARAM_INFO_READ) != 0;
}

void StatedFormats::add(const spa_pod* format) {
  if (!incoming_) return;
  const auto modes = modesOfFormatPod(format);
  if (modes.empty()) incoming_->codedFormats.insert(formatName(format));
  incoming_->modes.insert(incoming_->modes.end(), modes.begin(), modes.end());
}

void StatedFormats::finish() {
  if (incoming_) told_ = std::move(*incoming_);
  incoming_.reset();
}

}  // namespace platform_linux
