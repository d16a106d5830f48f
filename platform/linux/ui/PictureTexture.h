#pragma once

#include <functional>
#include <memory>

#include <gtk/gtk.h>

#include "picture/PreviewDecoder.h"
#include "platform/linux/base/Handles.h"
#include "platform/linux/base/Worker.h"

namespace platform_linux {

/// Whether a graphics processor draws the windows; otherwise the toolkit computes every pixel itself, on the
/// main thread. Looked up once.
[[nodiscard]] bool isDrawnByGraphicsProcessor();

/// A decoded picture in the form that is drawn fastest: for a graphics processor the toolkit's own texture;
/// for the toolkit itself an image of its drawing library, which it copies, whereas it would convert a
/// texture pixel by pixel. Made on any thread, otherwise main thread only.
class Texture {
 public:
  /// The pixels go back to `pool` when the last drawing that shows them has gone.
  Texture(picture::DecodedPicture picture, std::shared_ptr<picture::PixelBufferPool> pool);

  [[nodiscard]] picture::PixelSize size() const { return size_; }
  /// Whether nothing shows through it; a texture's opacity may be a hundredth short of that.
  [[nodiscard]] bool isOpaque() const { return image_ != nullptr; }
  /// Draws it over `area`.
  void append(GtkSnapshot* snapshot, const graphene_rect_t& area) const;

 private:
  struct SurfaceDeleter {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  };

  picture::PixelSize size_;
  GObjectRef<GdkTexture> texture_;                          ///< for a graphics processor,
  std::unique_ptr<cairo_surface_t, SurfaceDeleter> image_;  ///< or this one
};

/// Turns the newest frame of a picture into a texture for a view, on the decode thread. It never runs ahead
/// of the screen: a frame is decoded only once the one before has been drawn, and frames that come meanwhile
/// are left out but for the newest. So nothing is decoded that is not drawn, however the display server keeps
/// a window from drawing. Main thread only.
class PictureTexture {
 public:
  /// `onReady` asks for a redraw; it comes after every decoding, also of a damaged frame. `decodeThread` must
  /// outlive this object.
  PictureTexture(Worker& decodeThread, std::function<void()> onReady);
  PictureTexture(const PictureTexture&) = delete;
  PictureTexture& operator=(const PictureTexture&) = delete;
  ~PictureTexture();

  void setFrame(std::shared_ptr<const picture::Frame> frame);
  [[nodiscard]] const std::shared_ptr<const picture::Frame>& frame() const { return frame_; }

  /// While it is not drawable nothing is decoded.
  void setDrawable(bool drawable);

  /// Whether a frame is being decoded, or is decoded and waits to be drawn. Once it is not, and drawn, the
  /// next frame is taken up.
  [[nodiscard]] bool isBusy() const { return decoding_ || awaitsDrawing_; }

  /// Whether there is something to draw.
  [[nodiscard]] bool hasTexture() const { return texture_ != nullptr; }

  /// The texture to draw now in a view of that size in pixels; null while there is none yet. It is mirrored
  /// already, and has the size that the picture takes in the view, or is smaller where a graphics processor
  /// enlarges it. Right after a change of the view's size it is still as the old one wanted it.
  const Texture* draw(picture::PixelSize view, bool mirrored);

 private:
  void decodeIfNeeded();
  void delivered(std::shared_ptr<const picture::Frame> frame, const picture::PictureRequest& request,
                 std::shared_ptr<const Texture> texture);
  [[nodiscard]] bool isUpToDate() const;

  Worker& decodeThread_;
  const std::function<void()> onReady_;
  const std::shared_ptr<picture::PixelBufferPool> pool_ = std::make_shared<picture::PixelBufferPool>();
  /// What a job that is under way finds its way back by; empty once this object has gone.
  const std::shared_ptr<PictureTexture*> self_ = std::make_shared<PictureTexture*>(this);

  std::shared_ptr<const picture::Frame> frame_;
  std::shared_ptr<const picture::Frame> decodedFrame_;  ///< what texture_ shows, or what could not be decoded
  picture::PictureRequest decodedRequest_;              ///< and what for
  std::shared_ptr<const Texture> texture_;
  picture::PictureRequest request_;
  bool drawable_ = false;
  bool decoding_ = false;
  bool awaitsDrawing_ = false;
};

}  // namespace platform_linux
