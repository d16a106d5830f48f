#include "bench/png/Scenes.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

namespace camera_shot_bench {
namespace {

// Linear light, 0 to 1, three channels side by side.
struct LinearImage {
  std::uint32_t width;
  std::uint32_t height;
  std::vector<float> values;

  float* at(std::uint32_t x, std::uint32_t y) { return values.data() + (std::size_t{y} * width + x) * 3; }
  const float* at(std::uint32_t x, std::uint32_t y) const {
    return values.data() + (std::size_t{y} * width + x) * 3;
  }
};

std::uint32_t mixBits(std::uint32_t value) {
  value ^= value >> 16;
  value *= 0x7FEB352DU;
  value ^= value >> 15;
  value *= 0x846CA68BU;
  return value ^ value >> 16;
}

// A random value from 0 to 1 that belongs to a place.
float latticeValue(int x, int y, std::uint32_t seed) {
  const std::uint32_t mixed =
      mixBits(static_cast<std::uint32_t>(x) + mixBits(static_cast<std::uint32_t>(y) + seed));
  return static_cast<float>(mixed >> 8) / 16777216.0F;
}

float smoothStep(float t) {
  return t * t * (3 - 2 * t);
}

float valueNoise(float x, float y, std::uint32_t seed) {
  const float floorX = std::floor(x);
  const float floorY = std::floor(y);
  const int cellX = static_cast<int>(floorX);
  const int cellY = static_cast<int>(floorY);
  const float u = smoothStep(x - floorX);
  const float v = smoothStep(y - floorY);
  const float top = std::lerp(latticeValue(cellX, cellY, seed), latticeValue(cellX + 1, cellY, seed), u);
  const float bottom =
      std::lerp(latticeValue(cellX, cellY + 1, seed), latticeValue(cellX + 1, cellY + 1, seed), u);
  return std::lerp(top, bottom, v) - 0.5F;
}

// One thing in the scene: an ellipse with a colour, a shading across it and a texture of its own.
struct Thing {
  float x, y;
  float radius;
  float flattening;
  float cosine, sine;
  float color[3];
  float shading;       // relative change of brightness from one side to the other
  float roughness;     // relative amplitude of the texture
  float persistence;   // amplitude of each octave as a part of the one before
  float textureScale;  // cycles a pixel of its first octave
  std::uint32_t seed;
};

class SceneBuilder {
 public:
  explicit SceneBuilder(const SceneOptions& options)
      : options_(options), random_(options.seed), image_{options.width, options.height, {}} {
    image_.values.resize(std::size_t{options.width} * options.height * 3);
  }

  LinearImage build() {
    const float largest = static_cast<float>(options_.height) * 0.6F;
    Thing ground = makeThing(largest);
    ground.radius = 4 * static_cast<float>(options_.width);
    ground.x = static_cast<float>(options_.width) / 2;
    ground.y = static_cast<float>(options_.height) / 2;
    ground.flattening = 1;
    paint(ground);
    constexpr int kThings = 900;
    // Far and large things first; the sizes of the nearer ones fall off with the third power.
    std::vector<float> radii(kThings);
    const float smallest = static_cast<float>(options_.height) / 150;
    for (float& radius : radii) {
      const float u = uniform(0, 1);
      radius = 1 / std::sqrt(std::lerp(1 / (largest * largest), 1 / (smallest * smallest), u));
    }
    for (const float radius : radii)
      paint(makeThing(radius));
    return std::move(image_);
  }

 private:
  float uniform(float from, float to) { return std::uniform_real_distribution<float>(from, to)(random_); }

  Thing makeThing(float radius) {
    Thing thing{};
    thing.x = uniform(0, static_cast<float>(options_.width));
    thing.y = uniform(0, static_cast<float>(options_.height));
    thing.radius = radius;
    thing.flattening = uniform(0.35F, 1);
    const float angle = uniform(0, std::numbers::pi_v<float>);
    thing.cosine = std::cos(angle);
    thing.sine = std::sin(angle);
    // Most things are dull: one brightness, with a tint on top.
    const float brightness = std::pow(uniform(0.05F, 0.95F), 1.4F);
    const float saturation = uniform(0, 1) * uniform(0, 0.8F);
    for (float& channel : thing.color) {
      channel = options_.grey ? brightness : brightness * (1 + saturation * uniform(-1, 1));
    }
    thing.shading = uniform(-0.5F, 0.5F);
    const bool smooth = uniform(0, 1) < 0.3F;  // walls, skies, skin
    thing.roughness = smooth ? uniform(0.0F, 0.05F) : uniform(0.1F, 0.7F);
    thing.persistence = uniform(0.5F, 0.85F);  // from cloth and stone to leaves and hair
    thing.textureScale =
        std::exp(uniform(std::log(0.004F), std::log(0.08F))) * 1080 / static_cast<float>(options_.height);
    thing.seed = static_cast<std::uint32_t>(random_());
    return thing;
  }

  void paint(const Thing& thing) {
    const auto clampTo = [](float value, std::uint32_t limit) {
      return static_cast<std::uint32_t>(std::clamp(value, 0.0F, static_cast<float>(limit)));
    };
    const std::uint32_t left = clampTo(thing.x - thing.radius, options_.width);
    const std::uint32_t right = clampTo(thing.x + thing.radius + 1, options_.width);
    const std::uint32_t top = clampTo(thing.y - thing.radius, options_.height);
    const std::uint32_t bottom = clampTo(thing.y + thing.radius + 1, options_.height);
    for (std::uint32_t y = top; y < bottom; ++y) {
      for (std::uint32_t x = left; x < right; ++x)
        paintPixel(thing, x, y);
    }
  }

  void paintPixel(const Thing& thing, std::uint32_t x, std::uint32_t y) {
    const float dx = static_cast<float>(x) - thing.x;
    const float dy = static_cast<float>(y) - thing.y;
    const float along = (dx * thing.cosine + dy * thing.sine) / thing.radius;
    const float across = (dy * thing.cosine - dx * thing.sine) / (thing.radius * thing.flattening);
    if (along * along + across * across > 1) return;
    float texture = 0;
    float amplitude = thing.roughness;
    float scale = thing.textureScale;
    for (int octave = 0; octave < 7 && scale < 0.5F && amplitude > 0.002F; ++octave) {
      texture += amplitude * valueNoise(static_cast<float>(x) * scale, static_cast<float>(y) * scale,
                                        thing.seed + static_cast<std::uint32_t>(octave));
      amplitude *= thing.persistence;
      scale *= 2.1F;
    }
    const float light = (1 + thing.shading * along) * (1 + texture);
    float* pixel = image_.at(x, y);
    for (int channel = 0; channel < 3; ++channel)
      pixel[channel] = std::max(0.0F, thing.color[channel] * light);
  }

  const SceneOptions& options_;
  std::mt19937 random_;
  LinearImage image_;
};

// Gaussian blur, separable; borders repeat the outermost pixels.
void blur(LinearImage& image, double deviation) {
  const int reach = static_cast<int>(std::ceil(3 * deviation));
  std::vector<float> kernel;
  float sum = 0;
  for (int i = -reach; i <= reach; ++i) {
    kernel.push_back(static_cast<float>(std::exp(-i * i / (2 * deviation * deviation))));
    sum += kernel.back();
  }
  const float* const center = kernel.data() + reach;
  for (float& weight : kernel)
    weight /= sum;
  LinearImage between = image;
  const auto pass = [&](const LinearImage& from, LinearImage& to, int stepX, int stepY) {
    for (int y = 0; y < static_cast<int>(from.height); ++y) {
      for (int x = 0; x < static_cast<int>(from.width); ++x) {
        float total[3] = {};
        for (int i = -reach; i <= reach; ++i) {
          const int fromX = std::clamp(x + i * stepX, 0, static_cast<int>(from.width) - 1);
          const int fromY = std::clamp(y + i * stepY, 0, static_cast<int>(from.height) - 1);
          const float* pixel = from.at(static_cast<std::uint32_t>(fromX), static_cast<std::uint32_t>(fromY));
          const float weight = center[i];
          for (int channel = 0; channel < 3; ++channel)
            total[channel] += weight * pixel[channel];
        }
        std::copy_n(total, 3, to.at(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)));
      }
    }
  };
  pass(image, between, 1, 0);
  pass(between, image, 0, 1);
}

void darkenCorners(LinearImage& image) {
  for (std::uint32_t y = 0; y < image.height; ++y) {
    for (std::uint32_t x = 0; x < image.width; ++x) {
      const float dx = 2 * static_cast<float>(x) / static_cast<float>(image.width) - 1;
      const float dy = 2 * static_cast<float>(y) / static_cast<float>(image.height) - 1;
      const float light = 1 - 0.18F * (dx * dx + dy * dy);
      for (int channel = 0; channel < 3; ++channel)
        image.at(x, y)[channel] *= light;
    }
  }
}

// Which colour a photosite sees: R G over G B.
int bayerChannel(std::uint32_t x, std::uint32_t y) {
  return y % 2 == 0 ? (x % 2 == 0 ? 0 : 1) : (x % 2 == 0 ? 1 : 2);
}

// Photon noise, and read noise of three electrons, as the sensor of a small camera has.
void addSensorNoise(std::vector<float>& mosaic, double fullWell, std::uint32_t seed) {
  constexpr float kReadNoise = 3;
  std::mt19937 random(seed);
  std::normal_distribution<float> normal;
  const auto well = static_cast<float>(fullWell);
  for (float& value : mosaic) {
    const float electrons = value * well;
    value += normal(random) * std::sqrt(electrons + kReadNoise * kReadNoise) / well;
  }
}

// Takes one channel a photosite and fills in the others from their neighbours, which spreads the noise as
// cameras do.
void demosaic(LinearImage& image, double fullWell, std::uint32_t seed) {
  std::vector<float> mosaic(std::size_t{image.width} * image.height);
  for (std::uint32_t y = 0; y < image.height; ++y) {
    for (std::uint32_t x = 0; x < image.width; ++x) {
      mosaic[std::size_t{y} * image.width + x] = image.at(x, y)[bayerChannel(x, y)];
    }
  }
  addSensorNoise(mosaic, fullWell, seed);
  for (std::uint32_t y = 0; y < image.height; ++y) {
    for (std::uint32_t x = 0; x < image.width; ++x) {
      float total[3] = {};
      float weights[3] = {};
      for (std::uint32_t ny = y - std::min(y, 1U); ny <= std::min(y + 1, image.height - 1); ++ny) {
        for (std::uint32_t nx = x - std::min(x, 1U); nx <= std::min(x + 1, image.width - 1); ++nx) {
          const int channel = bayerChannel(nx, ny);
          const bool same = nx == x && ny == y;
          const float weight =
              same ? 1000.0F : (nx == x || ny == y ? 2.0F : 1.0F);  // its own value where it has one
          total[channel] += weight * mosaic[std::size_t{ny} * image.width + nx];
          weights[channel] += weight;
        }
      }
      for (int channel = 0; channel < 3; ++channel) {
        if (weights[channel] > 0) image.at(x, y)[channel] = total[channel] / weights[channel];
      }
    }
  }
}

// What every camera does against the lens's softness, and with the noise too: adds a part of what a blur
// takes away.
void sharpen(LinearImage& image, double amount) {
  constexpr double kRadius = 1.2;
  LinearImage blurred = image;
  blur(blurred, kRadius);
  for (std::size_t i = 0; i < image.values.size(); ++i)
    image.values[i] += static_cast<float>(amount) * (image.values[i] - blurred.values[i]);
}

// IEC 61966-2-1.
float toSrgb(float linear) {
  linear = std::clamp(linear, 0.0F, 1.0F);
  return linear <= 0.0031308F ? 12.92F * linear : 1.055F * std::pow(linear, 1 / 2.4F) - 0.055F;
}

Picture develop(const LinearImage& image, bool grey) {
  constexpr std::size_t kSteps = 1U << 16;
  std::vector<std::uint8_t> curve(kSteps + 1);
  for (std::size_t i = 0; i <= kSteps; ++i) {
    curve[i] = static_cast<std::uint8_t>(std::lround(255 * toSrgb(static_cast<float>(i) / kSteps)));
  }
  Picture picture{image.width, image.height, Bytes(image.values.size())};
  for (std::size_t i = 0; i < image.values.size(); ++i) {
    const std::size_t from = grey ? i - i % 3 + 1 : i;
    picture.pixels[i] = curve[static_cast<std::size_t>(std::clamp(image.values[from], 0.0F, 1.0F) * kSteps)];
  }
  return picture;
}

}  // namespace

Picture photographScene(const SceneOptions& options) {
  LinearImage image = SceneBuilder(options).build();
  darkenCorners(image);
  blur(image, options.blur);
  if (options.fullWell > 0) demosaic(image, options.fullWell, options.seed + 1000);
  if (options.sharpening > 0) sharpen(image, options.sharpening);
  return develop(image, options.grey);
}

Picture halved(const Picture& picture) {
  Picture half{picture.width / 2, picture.height / 2, {}};
  half.pixels.reserve(half.rowBytes() * half.height);
  for (std::uint32_t y = 0; y < half.height; ++y) {
    const std::uint8_t* row = picture.pixels.data() + 2 * y * picture.rowBytes();
    const std::uint8_t* below = row + picture.rowBytes();
    for (std::size_t i = 0; i < half.rowBytes(); ++i) {
      const std::size_t from = i / 3 * 6 + i % 3;
      const unsigned sum = row[from] + row[from + 3] + below[from] + below[from + 3];
      half.pixels.push_back(static_cast<std::uint8_t>((sum + 2) / 4));
    }
  }
  return half;
}

}  // namespace camera_shot_bench
