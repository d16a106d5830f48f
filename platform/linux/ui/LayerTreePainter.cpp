#include "platform/linux/ui/LayerTreePainter.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include "platform/linux/layers/PictureImage.h"
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

PixelSize pixelSize(const platform::CGRect& bounds, int scale) {
  return {static_cast<int>(std::ceil(bounds.width * scale)),
          static_cast<int>(std::ceil(bounds.height * scale))};
}

/// Draws `texture` in the middle of `bounds`, as large as its shape fits. The shape is the frame's: a decoded
/// picture's is rounded to whole pixels.
void drawFitted(GtkSnapshot* snapshot, GdkTexture* texture, const Frame& frame,
                const platform::CGRect& bounds, bool mirrored) {
  const double factor = std::min(bounds.width / frame.width, bounds.height / frame.height);
  const double width = frame.width * factor;
  const double height = frame.height * factor;
  const graphene_rect_t area =
      rectangle((bounds.width - width) / 2, (bounds.height - height) / 2, width, height);
  gtk_snapshot_save(snapshot);
  if (mirrored) {
    const graphene_point_t right{static_cast<float>(bounds.width), 0};
    gtk_snapshot_translate(snapshot, &right);
    gtk_snapshot_scale(snapshot, -1, 1);
  }
  gtk_snapshot_append_texture(snapshot, texture, &area);
  gtk_snapshot_restore(snapshot);
}

void collectContents(const Layer& layer, std::set<const platform::CGImage*>& contents) {
  if (layer.contents()) contents.insert(layer.contents().get());
  for (const auto& sublayer : layer.sublayers())
    collectContents(*sublayer, contents);
}

}  // namespace

void LayerTreePainter::setLayer(std::shared_ptr<Layer> layer) {
  if (layer == root_) return;
  listenToLivePicture(false);
  if (root_) root_->setChangeListener(nullptr);
  live_.reset();
  stills_.clear();
  root_ = std::move(layer);
  livePicture_ = dynamic_cast<LivePicture*>(root_.get());
  if (root_) {
    root_->setFrame({0, 0, width_, height_});
    root_->setChangeListener([this] { treeChanged(); });
  }
  if (drawable_) listenToLivePicture(true);
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
  listenToLivePicture(drawable);
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

void LayerTreePainter::listenToLivePicture(bool listen) {
  if (bell_) {
    livePicture_->setFrameListener(nullptr);
    bell_->painter = nullptr;
    bell_ = nullptr;
  }
  if (!listen || !livePicture_ || !decodeThread_) return;
  bell_ = std::make_shared<FrameBell>();
  bell_->painter = this;
  livePicture_->setFrameListener([bell = bell_] {
    if (bell->rung.exchange(true)) return;
    postToMainLoop([bell] {
      if (bell->painter) bell->painter->takeNewestFrame();
    });
  });
  takeNewestFrame();
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
  fill(snapshot, kBlack, bounds);
  if (bell_) takeNewestFrame();
  if (!live_) return;
  if (GdkTexture* const texture = live_->draw(pixelSize(bounds, scale)))
    drawFitted(snapshot, texture, *live_->frame(), bounds, livePicture_->mirrored());
  if (bell_) bell_->rung = live_->isBusy();
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
  if (GdkTexture* const texture = still->draw(pixelSize(bounds, scale))) {
    const auto& picture = static_cast<const PictureImage&>(*layer.contents()).picture();
    drawFitted(snapshot, texture, picture->frame(), bounds, picture->mirrored());
  }
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
