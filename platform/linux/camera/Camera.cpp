#include "platform/linux/camera/Camera.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>
#include <tuple>

namespace platform_linux {
namespace {

/// What drivers and programs call loopbacks.
constexpr std::array<std::string_view, 5> kVirtualNames{"loopback", "dummy video device", "obs virtual",
                                                        "droidcam", "obs-camera"};
constexpr std::array<std::string_view, 3> kInfraredNames{"infrared", "infra red", "windows hello"};

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return text;
}

bool isLetterOrDigit(std::string_view text, std::size_t index) {
  return index < text.size() && std::isalnum(static_cast<unsigned char>(text[index])) != 0;
}

// "IR", as a word and in capitals: other words contain these letters.
bool containsIR(std::string_view text) {
  for (auto at = text.find("IR"); at != std::string_view::npos; at = text.find("IR", at + 1))
    if ((at == 0 || !isLetterOrDigit(text, at - 1)) && !isLetterOrDigit(text, at + 2)) return true;
  return false;
}

template <typename Words>
bool containsAny(const std::string& text, const Words& words) {
  return std::any_of(words.begin(), words.end(),
                     [&](auto word) { return text.find(word) != std::string::npos; });
}

bool isGrey(const CameraMode& mode) {
  return mode.format == picture::PixelFormat::GRAY8 || mode.format == picture::PixelFormat::GRAY16;
}

// Those without a place last, /dev/video2 before /dev/video10.
auto placeKey(const Camera& camera) {
  return std::tuple(camera.place.empty(), camera.place.size(), std::string_view(camera.place));
}

}  // namespace

CameraKind cameraKind(const std::string& localizedName, const std::vector<CameraMode>& modes) {
  const std::string name = lowerCase(localizedName);
  if (containsAny(name, kVirtualNames)) return CameraKind::kVirtual;
  if (containsIR(localizedName) || containsAny(name, kInfraredNames)) return CameraKind::kInfrared;
  if (!modes.empty() && std::all_of(modes.begin(), modes.end(), isGrey)) return CameraKind::kInfrared;
  return CameraKind::kColour;
}

bool comesBefore(const Camera& a, const Camera& b) {
  if (a.kind != b.kind) return a.kind < b.kind;
  if (a.priority != b.priority) return a.priority > b.priority;
  if (placeKey(a) != placeKey(b)) return placeKey(a) < placeKey(b);
  return a.serial < b.serial;
}

}  // namespace platform_linux
