#include <chrono>
#include <cstdint>
#include <utility>

#include "capture/PhotoTaker.h"

namespace camera_shot {
namespace {

/// How long the preview shows a still before the live picture comes back.
constexpr std::chrono::seconds kOverlayTime{1};

}  // namespace

std::string PhotoTaker::generatePath(const std::string& folder) const {
  const auto& files = platform_.defaultFileManager;
  const std::string dateTime = suite_.auxiliary.getFilenameWithDateTime(platform_.dates.date());
  const auto stem = [&] {
    return folder + "/" + platform_.mainBundle.localizedStringForKey("Camera shot") + " " + dateTime;
  };
  std::string path = stem() + ".png";
  for (std::int32_t number = 1; files.fileExistsAtPath(path); ++number)
    path = stem() + " (" + std::to_string(number) + ").png";
  return path;
}

void PhotoTaker::save(const platform::AVCapturePhoto& photo, const std::string& folder) {
  const auto data = photo.fileDataRepresentation();
  const std::string path = generatePath(folder);
  const auto bitmap = platform_.appKit.imageRepWithData(data);
  const auto png = bitmap ? bitmap->representationUsingType(platform::NSBitmapImageFileType::PNG) : nullptr;
  queueOverlay(bitmap);
  // The outcome is not looked at on purpose: the success notification looks for the file and says what it
  // finds.
  if (png) png->writeToFile(path, true);
  platform_.mainQueue.async([self = shared_from_this(), path] { self->shotDone(path); });
}

void PhotoTaker::queueOverlay(std::shared_ptr<platform::NSBitmapImageRep> bitmap) {
  platform_.mainQueue.async(
      [self = shared_from_this(), bitmap = std::move(bitmap)] { self->showOverlay(bitmap); });
}

void PhotoTaker::showOverlay(const std::shared_ptr<platform::NSBitmapImageRep>& bitmap) {
  const auto layer = layer_.load();
  const auto overlay = platform_.quartzCore.layer();
  overlay->setContents(bitmap ? bitmap->cgImage() : nullptr);
  overlay->setContentsGravity(platform::kCAGravityResizeAspect);
  overlay->setFrame(layer ? layer->bounds() : platform::CGRect{});
  if (layer) layer->addSublayer(overlay);
  platform_.mainQueue.after(kOverlayTime, [overlay] { overlay->removeFromSuperlayer(); });
}

}  // namespace camera_shot
