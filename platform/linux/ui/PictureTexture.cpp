#include "platform/linux/ui/PictureTexture.h"

#include <optional>
#include <span>
#include <utility>

#include "platform/linux/ui/GraphicsProcessor.h"
#include "platform/linux/ui/MainLoop.h"

namespace platform_linux {
namespace {

/// The pixels of a texture: they go back to their pool when the last user of the texture is done with them.
struct LentPixels {
  std::shared_ptr<PixelBufferPool> pool;
  PixelBufferPool::Buffer pixels;
};

/// All pixels are opaque, so both formats have the same bytes. A graphics processor takes the first as it is;
/// where GTK draws by itself, older versions (4.8) have a quick way from the second one only.
GdkMemoryFormat pixelFormat() {
  static const bool kDrawnByGraphicsProcessor = hasGraphicsProcessor();
  return kDrawnByGraphicsProcessor ? GDK_MEMORY_B8G8R8A8_PREMULTIPLIED : GDK_MEMORY_B8G8R8A8;
}

GObjectRef<GdkTexture> makeTexture(DecodedPicture picture, std::shared_ptr<PixelBufferPool> pool) {
  const PixelSize size = picture.size;
  auto lent = std::make_unique<LentPixels>(LentPixels{std::move(pool), std::move(picture.pixels)});
  const std::span<const std::uint8_t> pixels = *lent->pixels;
  GBytes* const bytes = g_bytes_new_with_free_func(
      pixels.data(), pixels.size(),
      [](gpointer data) noexcept {
        const std::unique_ptr<LentPixels> done(static_cast<LentPixels*>(data));
        done->pool->giveBack(std::move(done->pixels));
      },
      lent.release());
  auto texture = GObjectRef<GdkTexture>::adopt(gdk_memory_texture_new(
      size.width, size.height, pixelFormat(), bytes, static_cast<std::size_t>(size.width) * 4));
  g_bytes_unref(bytes);
  return texture;
}

}  // namespace

PictureTexture::PictureTexture(DecodeThread& decodeThread, std::function<void()> onReady)
    : decodeThread_(decodeThread), onReady_(std::move(onReady)) {}

PictureTexture::~PictureTexture() {
  *self_ = nullptr;
}

void PictureTexture::setFrame(std::shared_ptr<const Frame> frame) {
  frame_ = std::move(frame);
  if (view_ == PixelSize{}) onReady_();  // drawing will tell the size to decode for
  decodeIfNeeded();
}

void PictureTexture::setDrawable(bool drawable) {
  drawable_ = drawable;
  decodeIfNeeded();
}

void PictureTexture::clear() {
  frame_ = nullptr;
  decodedFrame_ = nullptr;
  texture_ = {};
  awaitsDrawing_ = false;
  pool_->clear();
}

GdkTexture* PictureTexture::draw(PixelSize view) {
  view_ = view;
  awaitsDrawing_ = false;
  decodeIfNeeded();
  return texture_.get();
}

bool PictureTexture::isUpToDate() const {
  if (frame_ != decodedFrame_) return false;
  // A view that has grown needs more pixels than were decoded.
  return !texture_ || gdk_texture_get_width(texture_.get()) >= decodedSize(*frame_, view_).width;
}

void PictureTexture::decodeIfNeeded() {
  if (!drawable_ || decoding_ || awaitsDrawing_ || !frame_ || view_ == PixelSize{} || isUpToDate()) return;
  decoding_ = true;
  decodeThread_.post([self = self_, frame = frame_, view = view_, pool = pool_] {
    auto picture = decodeForView(*frame, view, *pool);
    GObjectRef<GdkTexture> texture;
    if (picture) texture = makeTexture(std::move(*picture), pool);
    postToMainLoop([self, frame, texture = std::move(texture)] {
      if (*self) (*self)->delivered(frame, texture);
    });
  });
}

void PictureTexture::delivered(std::shared_ptr<const Frame> frame, GObjectRef<GdkTexture> texture) {
  decoding_ = false;
  if (!frame_) return;  // cleared meanwhile
  decodedFrame_ = std::move(frame);
  // A damaged frame is left out: the last good one stays.
  if (texture) {
    texture_ = std::move(texture);
    awaitsDrawing_ = true;
  }
  onReady_();
}

}  // namespace platform_linux
