#pragma once

#include <memory>
#include <utility>

namespace camera_shot {

/// A callback that sends `member` to `object` as long as it lives and does nothing afterwards.
template <class Class, class... Arguments>
[[nodiscard]] auto weakly(const std::shared_ptr<Class>& object, void (Class::*member)(Arguments...)) {
  return [weak = std::weak_ptr<Class>(object), member](Arguments... arguments) {
    if (const auto self = weak.lock()) (self.get()->*member)(std::forward<Arguments>(arguments)...);
  };
}

}  // namespace camera_shot
