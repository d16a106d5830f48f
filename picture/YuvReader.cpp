#include "picture/YuvReader.h"

#include <libyuv.h>

#include "picture/SampleWords.h"

namespace picture {

YuvReader::YuvReader(const Frame& frame, const Planes& planes, int stripRows)
    : layout_(PixelLayout::of(frame.format)),
      planes_(planes),
      width_(frame.width),
      chromaWidth_((frame.width + (1 << layout_.chromaAcross) - 1) >> layout_.chromaAcross) {
  const auto reserve = [stripRows](Strip& strip, int width) {
    strip.stride = static_cast<std::size_t>(width);
    strip.samples.resize(strip.stride * static_cast<std::size_t>(stripRows));
  };
  if (layout_.components[0].step != 1) reserve(luma_, width_);
  if (layout_.components[1].step == 1) return;
  reserve(blue_, chromaWidth_);
  reserve(red_, chromaWidth_);
}

const std::uint8_t* YuvReader::rowOf(std::size_t component, int row) const {
  return planes_[layout_.components[component].plane].row(static_cast<std::size_t>(row));
}

PlaneRows YuvReader::luma(int first, int count) {
  if (layout_.components[0].step == 1) return {rowOf(0, first), planes_[0].stride};
  isPackedInPairs() ? splitPacked(first, count) : take(layout_.components[0], first, count, luma_);
  return luma_.rows();
}

YuvReader::Chroma YuvReader::chroma(int first, int count) {
  const auto& [luma, blue, red] = layout_.components;
  if (blue.step == 1)
    return {{rowOf(1, first), planes_[blue.plane].stride}, {rowOf(2, first), planes_[red.plane].stride}};
  if (isPackedInPairs()) {
    splitPacked(first, count);
  } else if (layout_.planeCount != 2 || layout_.bits > 8) {
    take(blue, first, count, blue_);
    take(red, first, count, red_);
  } else {
    Strip& even = blue.offset == 0 ? blue_ : red_;
    Strip& odd = blue.offset == 0 ? red_ : blue_;
    libyuv::SplitUVPlane(rowOf(1, first), static_cast<int>(planes_[1].stride), even.samples.data(),
                         chromaWidth_, odd.samples.data(), chromaWidth_, chromaWidth_, count);
  }
  return {blue_.rows(), red_.rows()};
}

// Luma and colour difference of packed formats come apart together; the second to ask finds its part done.
void YuvReader::splitPacked(int first, int count) {
  if (splitFirst_ == first && splitCount_ == count) return;
  const auto& [luma, blue, red] = layout_.components;
  const auto split = luma.offset == 0 ? libyuv::YUY2ToI422 : libyuv::UYVYToI422;
  Strip& early = blue.offset < red.offset ? blue_ : red_;
  Strip& late = blue.offset < red.offset ? red_ : blue_;
  split(rowOf(0, first), static_cast<int>(planes_[0].stride), luma_.samples.data(), width_,
        early.samples.data(), chromaWidth_, late.samples.data(), chromaWidth_, width_, count);
  splitFirst_ = first;
  splitCount_ = count;
}

void YuvReader::take(const PixelLayout::Component& component, int first, int count, Strip& strip) const {
  const auto begin = static_cast<std::size_t>(first);
  for (std::size_t row = 0; row < static_cast<std::size_t>(count); ++row) {
    const std::uint8_t* from = planes_[component.plane].row(begin + row);
    std::uint8_t* to = strip.samples.data() + row * strip.stride;
    if (layout_.bits > 8) {
      readSamples(from, component, strip.stride, layout_, 8, to);
    } else {
      for (std::size_t i = 0; i < strip.stride; ++i)
        to[i] = from[component.offset + i * component.step];
    }
  }
}

}  // namespace picture
