#pragma once

#include "bench/png/Picture.h"

namespace camera_shot_bench {

/// How a scene was taken.
struct SceneOptions {
  std::uint32_t width = 1920;
  std::uint32_t height = 1080;
  std::uint32_t seed = 1;
  /// Standard deviation of the optical blur, in pixels: a good lens 0.7, a small camera's 1.2 and more.
  double blur = 0.9;
  /// Electrons of a fully lit photosite: the fewer, the more photon noise. 0: no noise at all.
  double fullWell = 0;
  /// How much of what a blur of about a pixel would take away is added: cameras take 0.3 to 1.
  double sharpening = 0;
  bool grey = false;
};

/// A plausible photograph, the same for the same options: opaque things of all sizes that cover one another
/// (sizes fall off with the third power, which gives natural pictures' 1/f spectrum and edges), each lit and
/// textured over several octaves, seen through a lens, sampled by a Bayer sensor with photon and read noise,
/// demosaiced, sharpened and brought to sRGB's curve.
Picture photographScene(const SceneOptions& options);

/// At half the size each way, each pixel the mean of four: noise and sharpness of a larger sensor's photo.
Picture halved(const Picture& picture);

/// What a camera makes of it: JPEG, 4:2:2; with a restart marker after so many rows of blocks, if any.
Bytes encodeCameraJpeg(const Picture& picture, int quality, int restartRows = 0);

/// The pixels of a JPEG stream; no pixels when it is damaged.
Picture decodeJpeg(const Bytes& jpeg);

/// Pictures that are no photographs.
Picture flatPicture(std::uint32_t width, std::uint32_t height, std::uint32_t color);
Picture gradientPicture(std::uint32_t width, std::uint32_t height);
/// Windows, text-like strokes, rules and icons with smooth shading, as on a screen.
Picture screenPicture(std::uint32_t width, std::uint32_t height, std::uint32_t seed);

}  // namespace camera_shot_bench
