#include "platform/linux/ui/LayerTreePainter.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include "picture/FrameOrientation.h"
#include "platform/linux/photo/PictureImage.h"
#include "platform/linux/ui/MainLoop.h"

namespace platform_linux {
namespace {

constexpr GdkRGBA kBlack{0, 0, 0, 1};

graphene_rect_t rectangle(double x, double y, double width, double height) {
  return {{static_cast<float>(x), static_cast<float>(y)},
          {static_cast<float>(width), static_cast<float>(height)}};
}

void fill(GtkSnapshot* snapshot, const GdkRGBA& color, const platform::CGRect& bounds) {
  const graphene_rect_t area = rectangle(0, 0, bounds.width, bounds.height);
  gtk_snapshot_append_color(snapshot, &color, &area);
}

picture::PixelSize pixelSize(const platform::CGRect& bounds, int scale) {
  return {static_cast<int>(std::ceil(bounds.width * scale)),
          static_cast<int>(std::ceil(bounds.height * scale))};
}

/// The middle of the view, as large as the shape of `frame` fits, on whole pixels: a texture of that size is
/// copied as it is. In logical pixels.
platform::CGRect fittedArea(const picture::Frame& frame, picture::PixelSize view, int scale) {
  const picture::PixelSize fitted = picture::aspectFit(picture::uprightSize(frame), view);
  const auto logical = [scale](int pixels) { return static_cast<double>(pixels) / scale; };
  return {logical((view.width - fitted.width) / 2), logical((view.height - fitted.height) / 2),
          logical(fitted.width), logical(fitted.height)};
}

void drawFitted(GtkSnapshot* snapshot, const Texture& texture, const platform::CGRect& area) {
  texture.append(snapshot, rectangle(area.x, area.y, area.width, area.height));
}

/// Black, of `bounds`, what `area` in the middle leaves free, and a pixel more: where a display's scale puts
/// the seam within a pixel, nothing else is to shine through.
void fillAround(GtkSnapshot* snapshot, const platform::CGRect& area, const platform::CGRect& bounds) {
  const double left = area.x + 1;
  const double top = area.y + 1;
  const double right = area.x + area.width - 1;
  const double bottom = area.y + area.height - 1;
  for (const graphene_rect_t& bar :
       {rectangle(0, 0, bounds.width, top), rectangle(0, bottom, bounds.width, bounds.height - bottom),
        rectangle(0, top, left, bottom - top), rectangle(right, top, bounds.width - right, bottom - top)}) {
    if (bar.size.width > 0 && bar.size.height > 0) gtk_snapshot_append_color(snapshot, &kBlack, &bar);
  }
}

void collectContents(const Layer& layer, std::set<const platform::CGImage*>& contents) {
  if (layer.contents()) contents.insert(layer.contents().get());
  for (const auto& sublayer : layer.sublayers())
    collectContents(*sublayer, contents);
}

}  // namespace

void LayerTreePainter::setLayer(std::shared_ptr<Layer> layer) {
  if (layer == root_) return;
  stopListening();
  covered_ = false;
  if (root_) root_->setChangeListener(nullptr);
  live_.reset();
  stills_.clear();
  root_ = std::move(layer);
  livePicture_ = dynamic_cast<LivePicture*>(root_.get());
  if (root_) {
    root_->setFrame({0, 0, width_, height_});
    root_->setChangeListener([this] { treeChanged(); });
  }
  listenToLivePicture();
  redraw_();
}

void LayerTreePainter::setSize(double width, double height) {
  width_ = width;
  height_ = height;
  if (root_) root_->setFrame({0, 0, width_, height_});
}

void LayerTreePainter::setDrawable(bool drawable) {
  if (drawable == drawable_) return;
  drawable_ = drawable;
  listenToLivePicture();
  if (live_) live_->setDrawable(drawable);
  for (auto& [image, still] : stills_)
    still->setDrawable(drawable);
}

void LayerTreePainter::releasePictures() {
  live_.reset();
  stills_.clear();
}

void LayerTreePainter::treeChanged() {
  dropStillsNoLongerShown();
  redraw_();
}

void LayerTreePainter::stopListening() {
  if (!bell_) return;
  livePicture_->setFrameListener(nullptr);
  bell_->painter = nullptr;
  bell_ = nullptr;
}

void LayerTreePainter::listenToLivePicture() {
  stopListening();
  if (!drawable_ || covered_ || !livePicture_ || !decodeThread_) return;
  bell_ = std::make_shared<FrameBell>();
  bell_->painter = this;
  livePicture_->setFrameListener([bell = bell_] {
    if (bell->rung.exchange(true)) return;
    postToMainLoop([bell] {
      if (bell->painter) bell->painter->bellRang();
    });
  });
  takeNewestFrame();
}

void LayerTreePainter::bellRang() {
  takeNewestFrame();
  if (!hasPicture()) redraw_();  // what stands there instead may have changed
}

void LayerTreePainter::takeNewestFrame() {
  bell_->rung = false;
  auto frame = livePicture_->latestFrame();
  if (!frame) return;
  if (!live_) {
    live_ = std::make_unique<PictureTexture>(*decodeThread_, redraw_);
    live_->setDrawable(drawable_);
  }
  live_->setFrame(std::move(frame));
  bell_->rung = live_->isBusy();
}

void LayerTreePainter::drawLivePicture(GtkSnapshot* snapshot, const platform::CGRect& bounds, int scale) {
  const picture::PixelSize view = pixelSize(bounds, scale);
  setLivePictureCovered(isLivePictureCovered(bounds, view));
  if (bell_) takeNewestFrame();
  const Texture* const texture = live_ && !covered_ ? live_->draw(view, livePicture_->mirrored()) : nullptr;
  const platform::CGRect area = texture ? fittedArea(*live_->frame(), view, scale) : platform::CGRect{};
  // Without a graphics processor this thread fills each pixel itself: what the picture covers is left out.
  if (texture && texture->isOpaque())
    fillAround(snapshot, area, bounds);
  else
    fill(snapshot, kBlack, bounds);
  if (texture) drawFitted(snapshot, *texture, area);
  if (bell_ && live_) bell_->rung = live_->isBusy();
}

void LayerTreePainter::setLivePictureCovered(bool covered) {
  if (covered == covered_) return;
  covered_ = covered;
  listenToLivePicture();
}

bool LayerTreePainter::isLivePictureCovered(const platform::CGRect& bounds, picture::PixelSize view) const {
  if (!live_) return false;
  const picture::PixelSize shown = picture::aspectFit(picture::uprightSize(*live_->frame()), view);
  const auto covers = [&](const std::shared_ptr<Layer>& layer) {
    const auto still = stills_.find(layer->contents().get());
    if (still == stills_.end() || !still->second->hasTexture() || layer->frame() != bounds) return false;
    const auto& frame = still->second->frame();
    return picture::aspectFit(picture::uprightSize(*frame), view) == shown;
  };
  return std::any_of(root_->sublayers().begin(), root_->sublayers().end(), covers);
}

void LayerTreePainter::snapshot(GtkSnapshot* snapshot, int scale) {
  if (root_ && width_ > 0 && height_ > 0) drawLayer(snapshot, *root_, scale);
}

void LayerTreePainter::drawLayer(GtkSnapshot* snapshot, const Layer& layer, int scale) {
  const platform::CGRect bounds = layer.bounds();
  gtk_snapshot_save(snapshot);
  const graphene_point_t origin{static_cast<float>(layer.frame().x), static_cast<float>(layer.frame().y)};
  gtk_snapshot_translate(snapshot, &origin);
  if (const auto* color = layer.backgroundColor()) {
    fill(snapshot,
         {static_cast<float>(color->red), static_cast<float>(color->green), static_cast<float>(color->blue),
          static_cast<float>(color->alpha)},
         bounds);
  }
  if (&layer == root_.get() && livePicture_) drawLivePicture(snapshot, bounds, scale);
  drawStill(snapshot, layer, scale);
  for (const auto& sublayer : layer.sublayers())
    drawLayer(snapshot, *sublayer, scale);
  gtk_snapshot_restore(snapshot);
}

void LayerTreePainter::drawStill(GtkSnapshot* snapshot, const Layer& layer, int scale) {
  const platform::CGRect bounds = layer.bounds();
  PictureTexture* const still = stillOf(layer);
  if (!still || bounds.width <= 0 || bounds.height <= 0) return;
  const auto& picture = static_cast<const PictureImage&>(*layer.contents()).picture();
  const picture::PixelSize view = pixelSize(bounds, scale);
  if (const Texture* const texture = still->draw(view, picture->mirrored()))
    drawFitted(snapshot, *texture, fittedArea(picture->frame(), view, scale));
}

PictureTexture* LayerTreePainter::stillOf(const Layer& layer) {
  const auto image = std::dynamic_pointer_cast<const PictureImage>(layer.contents());
  if (!image || !decodeThread_) return nullptr;
  auto& still = stills_[image.get()];
  if (!still) {
    still = std::make_unique<PictureTexture>(*decodeThread_, redraw_);
    // The frame lives as long as its picture.
    still->setFrame({image->picture(), &image->picture()->frame()});
    still->setDrawable(drawable_);
  }
  return still.get();
}

void LayerTreePainter::dropStillsNoLongerShown() {
  std::set<const platform::CGImage*> shown;
  if (root_) collectContents(*root_, shown);
  std::erase_if(stills_, [&shown](const auto& entry) { return !shown.contains(entry.first); });
}

}  // namespace platform_linux
