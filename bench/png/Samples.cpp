#include "bench/png/Samples.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "bench/png/Scenes.h"
#include "picture/PhotoRows.h"
#include "tests/support/jpeg/JpegEncoder.h"

namespace camera_shot_bench {
namespace {

namespace fs = std::filesystem;

struct Look {
  const char* name;
  double blur;        // at 1080p; larger pictures of the same lens spread it over more pixels
  double fullWell;    // electrons; the square root of the light's part of it is the noise
  double sharpening;  // as SceneOptions has it
  int quality;
};

// Cameras from good light to dim, each scene once with little noise and once with much, and sharpened as
// cameras do. By libpng's defaults these come to 2.5 to 4.1 bits a byte. Photographs without noise are the
// installed ones: of the sixteen JPEG files of Debian's mate-backgrounds fifteen lie between 1.2 and 6.0
// (median of all 2.6), and one, a drawing, at 0.6.
constexpr Look kLooks[] = {
    {"sharp, daylight", 0.7, 20000, 0.3, 92}, {"sharp, bright light", 0.7, 8000, 0.3, 92},
    {"webcam, daylight", 1.2, 6000, 0.8, 88}, {"webcam, room light", 1.2, 2000, 0.8, 88},
    {"soft, daylight", 1.8, 6000, 0.8, 90},   {"soft, room light", 1.8, 2500, 0.8, 90},
    {"webcam, cloudy", 1.4, 6000, 0.8, 92},   {"webcam, dim", 1.4, 800, 0.8, 92},
};

// What cameras deliver that take the noise away, or sense twice the pixels each way, and what they see so:
// soft backgrounds, skies, skin. By libpng's defaults these come to 0.9 to 2.6 bits a byte.
constexpr Look kCleanLooks[] = {
    {"clean, daylight", 1.5, 12000, 0.5, 92}, {"clean, room light", 2.4, 5000, 0.8, 92},
    {"clean, soft", 4, 12000, 0.5, 90},       {"clean, soft, dim", 4, 4000, 0.5, 92},
    {"clean, bokeh", 9, 20000, 0.3, 92},      {"clean, sky", 20, 20000, 0.3, 92},
};

Sample fromJpeg(std::string name, std::string kind, Bytes jpeg) {
  Picture picture = decodeJpeg(jpeg);
  return {std::move(name), std::move(kind), std::move(jpeg), std::move(picture)};
}

void makeDrawings(std::uint32_t width, std::uint32_t height, const std::function<void(const Sample&)>& use) {
  use({"black", "flat", {}, flatPicture(width, height, 0)});
  use({"flat colour", "flat", {}, flatPicture(width, height, 0x4A6FA5)});
  use({"gradient", "gradient", {}, gradientPicture(width, height)});
  use({"screen 1", "drawn", {}, screenPicture(width, height, 1)});
  use({"screen 2", "drawn", {}, screenPicture(width, height, 2)});
}

// The scene at twice the size each way, halved.
void makeCleanPhotos(std::uint32_t width, std::uint32_t height,
                     const std::function<void(const Sample&)>& use) {
  std::uint32_t seed = 11;
  for (const Look& look : kCleanLooks) {
    const Picture photo = halved(
        photographScene({2 * width, 2 * height, seed++, look.blur, look.fullWell, look.sharpening, false}));
    use(fromJpeg(look.name, "clean photo", encodeCameraJpeg(photo, look.quality)));
  }
}

}  // namespace

Bytes encodeCameraJpeg(const Picture& picture, int quality, int restartRows) {
  return test_support::encodeJpeg(picture.width, picture.height, picture.pixels,
                                  {.quality = quality, .restartRows = restartRows});
}

Picture decodeJpeg(const Bytes& jpeg) {
  std::string failure;
  const auto source = picture::openJpegRows(jpeg, failure);
  if (!source) return {};
  Picture picture{source->width(), source->height(), Bytes(source->rowBytes() * source->height())};
  return source->readRows(picture.pixels) ? picture : Picture{};
}

void forEachGeneratedSample(const SampleOptions& options, const std::function<void(const Sample&)>& use) {
  const std::uint32_t width = options.large ? 4000 : 1920;
  const std::uint32_t height = options.large ? 3000 : 1080;
  std::uint32_t seed = 1;
  for (const Look& look : kLooks) {
    if (options.quick && seed > 4) break;
    // A larger sensor behind the same lens: the same scene is blurred over somewhat more pixels.
    const double blur = options.large ? look.blur * 1.4 : look.blur;
    const Picture photo =
        photographScene({width, height, 1 + (seed - 1) / 2, blur, look.fullWell, look.sharpening, false});
    use(fromJpeg(look.name, "photo", encodeCameraJpeg(photo, look.quality)));
    ++seed;
  }
  // At 12 megapixels they would take gigabytes to make.
  if (!options.quick && !options.large) makeCleanPhotos(width, height, use);
  for (const double fullWell : {0.0, 2000.0}) {
    const Picture photo = photographScene({width, height, 7, 1.2, fullWell, fullWell > 0 ? 0.8 : 0.0, true});
    use(fromJpeg(fullWell > 0 ? "grey, room light" : "grey, clean", "grey", encodeCameraJpeg(photo, 90)));
  }
  makeDrawings(width, height, use);
}

void forEachInstalledSample(const std::vector<std::string>& folders,
                            const std::function<void(const Sample&)>& use) {
  std::vector<fs::path> paths;
  for (const std::string& folder : folders) {
    std::error_code error;
    for (const auto& entry : fs::recursive_directory_iterator(folder, error)) {
      if (entry.path().extension() == ".jpg") paths.push_back(entry.path());
    }
  }
  std::sort(paths.begin(), paths.end());
  constexpr std::size_t kMegapixelBytes = 3'000'000;
  for (const fs::path& path : paths) {
    std::ifstream file(path, std::ios::binary);
    const Sample sample =
        fromJpeg(path.filename(), "wallpaper", Bytes(std::istreambuf_iterator<char>(file), {}));
    if (sample.picture.pixels.size() < kMegapixelBytes) continue;
    use(sample);
    if (sample.picture.pixels.size() < 4 * kMegapixelBytes) continue;
    use(fromJpeg(sample.name + ", halved", "halved wallpaper", encodeCameraJpeg(halved(sample.picture), 92)));
  }
}

}  // namespace camera_shot_bench
