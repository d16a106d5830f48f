#pragma once

namespace camera_shot {

/// The class name by which window layouts place the plain view that fills its whole bounds with opaque black,
/// a backdrop behind other content. The view draws itself; no controller reaches it.
inline constexpr const char* kBackgroundViewClassName = "BackgroundView";

}  // namespace camera_shot
