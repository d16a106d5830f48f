#include "platform/linux/camera/Camera.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>
#include <tuple>
#include <utility>

namespace platform_linux {
namespace {

/// What drivers and programs call loopbacks.
constexpr std::array<std::string_view, 5> kVirtualNames{"loopback", "dummy video device", "obs virtual",
                                                        "droidcam", "obs-camera"};
/// Raw sensors behind the image processors of laptops, tablets and single-board computers, these processors
/// themselves, and devices that send no pictures.
constexpr std::array<std::string_view, 11> kPartNames{"ipu3",        "ipu6",     "ipu7",   "isys",
                                                      "atomisp",     "metadata", "unicam", "rp1-cfe",
                                                      "bcm2835-isp", "pispbe",   "pisp_be"};
constexpr std::array<std::string_view, 3> kInfraredNames{"infrared", "infra red", "windows hello"};

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(text.begin(), text.end(), lower.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return lower;
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

// Those without a place last, /dev/video2 before /dev/video10.
auto placeKey(const Camera& camera) {
  return std::tuple(camera.place.empty(), camera.place.size(), std::string_view(camera.place));
}

// "Cam A (V4L2)" is "Cam A".
std::string withoutWay(std::string title) {
  for (const std::string_view way : {" (V4L2)", " (libcamera)"})
    if (title.ends_with(way)) title.resize(title.size() - way.size());
  return title;
}

// "Cam A  Cam A" is "Cam A": some monitors put maker and model together where both are the whole name.
std::string notTwice(std::string title) {
  for (std::size_t half = title.size() / 2 + 1; half-- > 1;) {
    const std::string_view first = std::string_view(title).substr(0, half);
    const std::string_view rest = std::string_view(title).substr(half);
    const auto begin = rest.find_first_not_of(' ');
    if (begin != std::string_view::npos && begin > 0 && rest.substr(begin) == first)
      return std::string(first);
  }
  return title;
}

}  // namespace

std::string plainTitle(std::string title) {
  return notTwice(withoutWay(std::move(title)));
}

bool isCalledAPartOfACamera(std::string_view name) {
  return containsAny(lowerCase(name), kPartNames);
}

bool isLoopbackDriver(std::string_view driver) {
  return containsAny(lowerCase(driver), std::array<std::string_view, 1>{"loopback"});
}

std::string whyNotListed(const std::string& title, const std::set<std::string>& formats) {
  std::string all;
  for (const auto& format : formats)
    all += (all.empty() ? "" : ", ") + format;
  return title + " is not listed: it offers " +
         (all.empty() ? "no pictures" : "only what cannot be read here (" + all + ")");
}

CameraKind cameraKind(const std::string& localizedName, const std::vector<CameraMode>& modes) {
  const std::string name = lowerCase(localizedName);
  if (containsAny(name, kVirtualNames)) return CameraKind::Virtual;
  if (containsIR(localizedName) || containsAny(name, kInfraredNames)) return CameraKind::Infrared;
  if (!modes.empty() && std::all_of(modes.begin(), modes.end(), isGrey)) return CameraKind::Infrared;
  return CameraKind::Colour;
}

bool comesBefore(const Camera& a, const Camera& b) {
  if (a.kind != b.kind) return a.kind < b.kind;
  if (a.priority != b.priority) return a.priority > b.priority;
  if (placeKey(a) != placeKey(b)) return placeKey(a) < placeKey(b);
  return a.serial < b.serial;
}

}  // namespace platform_linux
