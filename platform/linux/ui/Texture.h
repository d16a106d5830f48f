#pragma once

#include <memory>

#include <gtk/gtk.h>

#include "picture/PreviewDecoder.h"
#include "platform/linux/base/GObjectRef.h"

namespace platform_linux {

/// Whether a graphics processor draws the windows; otherwise the toolkit computes every pixel itself, on the
/// main thread. Looked up once.
bool isDrawnByGraphicsProcessor();

/// A decoded picture in the form that is drawn fastest: for a graphics processor the toolkit's own texture;
/// for the toolkit itself an image of its drawing library, which it copies, whereas it would convert a
/// texture pixel by pixel. Made on any thread, otherwise main thread only.
class Texture {
 public:
  /// The pixels go back to `pool` when the last drawing that shows them has gone.
  Texture(picture::DecodedPicture picture, std::shared_ptr<picture::PixelBufferPool> pool);

  picture::PixelSize size() const { return size_; }
  /// Draws it over `area`, opaque.
  void append(GtkSnapshot* snapshot, const graphene_rect_t& area) const;

 private:
  struct SurfaceDeleter {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  };

  picture::PixelSize size_;
  GObjectRef<GdkTexture> texture_;                          ///< for a graphics processor,
  std::unique_ptr<cairo_surface_t, SurfaceDeleter> image_;  ///< or this one
};

}  // namespace platform_linux
