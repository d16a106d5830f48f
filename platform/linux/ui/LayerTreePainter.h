#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>

#include <gtk/gtk.h>

#include "platform/linux/photo/Layer.h"
#include "platform/linux/photo/LivePicture.h"
#include "platform/linux/ui/PictureTexture.h"

namespace platform_linux {

/// Draws a layer tree: the live picture, fitted and mirrored, on black; then backgrounds, contents and
/// sublayers, each at its frame. While a still covers the live picture, as the photo does after a shot, no
/// frames are asked for: nobody would see them, and saving the photo has the processor to itself. Main thread
/// only.
class LayerTreePainter {
 public:
  /// `redraw` asks the toolkit for a new drawing.
  explicit LayerTreePainter(std::function<void()> redraw) : redraw_(std::move(redraw)) {}
  LayerTreePainter(const LayerTreePainter&) = delete;
  LayerTreePainter& operator=(const LayerTreePainter&) = delete;
  ~LayerTreePainter() { setLayer(nullptr); }

  /// Without a decode thread, which must outlive the painter, no pictures are drawn.
  void setDecodeThread(Worker& decodeThread) { decodeThread_ = &decodeThread; }

  void setLayer(std::shared_ptr<Layer> layer);
  [[nodiscard]] const std::shared_ptr<Layer>& layer() const { return root_; }

  /// The size of the view in logical pixels; the root layer's frame follows it.
  void setSize(double width, double height);

  /// Whether drawings reach the screen. While they do not, nothing is decoded and no frame is asked for.
  void setDrawable(bool drawable);
  /// Frees what was decoded: the view has left the screen.
  void releasePictures();

  /// Whether there is a live picture to draw.
  [[nodiscard]] bool hasPicture() const { return live_ && live_->hasTexture(); }
  /// Whether it paints each pixel of its view, of whatever colour.
  [[nodiscard]] bool coversItsView() const { return livePicture_ != nullptr; }
  /// Why none comes, as LivePicture::error says.
  [[nodiscard]] int error() const { return livePicture_ ? livePicture_->error() : 0; }

  /// `scale`: device pixels to a logical one.
  void snapshot(GtkSnapshot* snapshot, int scale);

 private:
  /// Brings word of new frames from the camera's thread to the main thread. It is rung once: then no more
  /// until the frame that it told of has been drawn, so that no camera is too fast for the main loop.
  struct FrameBell {
    std::atomic<bool> rung{false};
    LayerTreePainter* painter = nullptr;  ///< main thread only
  };

  void treeChanged();
  void bellRang();
  void takeNewestFrame();
  void listenToLivePicture();
  void stopListening();
  void setLivePictureCovered(bool covered);
  [[nodiscard]] bool isLivePictureCovered(const platform::CGRect& bounds, picture::PixelSize view) const;
  void drawLayer(GtkSnapshot* snapshot, const Layer& layer, int scale);
  void drawLivePicture(GtkSnapshot* snapshot, const platform::CGRect& bounds, int scale);
  void drawStill(GtkSnapshot* snapshot, const Layer& layer, int scale);
  void dropStillsNoLongerShown();
  PictureTexture* stillOf(const Layer& layer);

  const std::function<void()> redraw_;
  Worker* decodeThread_ = nullptr;
  std::shared_ptr<Layer> root_;
  LivePicture* livePicture_ = nullptr;  ///< root_, when it is one
  std::shared_ptr<FrameBell> bell_;     ///< while listening to livePicture_
  std::unique_ptr<PictureTexture> live_;
  std::map<const platform::CGImage*, std::unique_ptr<PictureTexture>> stills_;
  double width_ = 0;
  double height_ = 0;
  bool drawable_ = false;
  bool covered_ = false;  ///< the live picture, by a still
};

}  // namespace platform_linux
