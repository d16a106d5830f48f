#pragma once

#include <map>
#include <string>
#include <vector>

namespace fakes {

/// The views that the fake layouts have; the real ones have them all.
inline const std::map<std::string, std::vector<std::string>> kLayoutOutlets{
    {"PreviewWindowController",
     {"captureView", "warningView", "warningImage", "warningText", "warningDescription", "button",
      "preferencesButton", "closeButton"}},
    {"PreferencesWindowController",
     {"outputLocation", "outputLocationWarning", "previewSetting", "videoSource"}},
};

}  // namespace fakes
