#include "platform/linux/ui/PictureTexture.h"

#include <cstdint>
#include <utility>

#include "platform/linux/ui/GraphicsProcessor.h"
#include "platform/linux/ui/MainLoop.h"

namespace platform_linux {
namespace {

/// Pixels on loan: they go back to their pool when the last user is done with them.
struct LentPixels {
  std::shared_ptr<picture::PixelBufferPool> pool;
  picture::PixelBufferPool::Buffer pixels;
};

void giveBack(gpointer lentPixels) noexcept {
  const std::unique_ptr<LentPixels> done(static_cast<LentPixels*>(lentPixels));
  done->pool->giveBack(std::move(done->pixels));
}

int strideOf(picture::PixelSize size) {
  return size.width * 4;
}

GdkTexture* makeTexture(picture::PixelSize size, std::unique_ptr<LentPixels> lent) {
  const auto& pixels = *lent->pixels;
  GBytes* const bytes = g_bytes_new_with_free_func(pixels.data(), pixels.size(), giveBack, lent.release());
  GdkTexture* const texture =
      gdk_memory_texture_new(size.width, size.height, GDK_MEMORY_B8G8R8A8_PREMULTIPLIED, bytes,
                             static_cast<std::size_t>(strideOf(size)));
  g_bytes_unref(bytes);
  return texture;
}

cairo_surface_t* makeImage(picture::PixelSize size, std::unique_ptr<LentPixels> lent) {
  static const cairo_user_data_key_t kLentPixels{};
  cairo_surface_t* const image = cairo_image_surface_create_for_data(lent->pixels->data(), CAIRO_FORMAT_RGB24,
                                                                     size.width, size.height, strideOf(size));
  const auto kept = cairo_surface_set_user_data(image, &kLentPixels, lent.get(), giveBack);
  // Without memory for the note the image is in its error state too, and draws nothing.
  if (kept == CAIRO_STATUS_SUCCESS) static_cast<void>(lent.release());
  return image;
}

cairo_surface_t* acquireImage(cairo_pattern_t*, void* image, cairo_surface_t*,
                              const cairo_rectangle_int_t*) noexcept {
  return cairo_surface_reference(static_cast<cairo_surface_t*>(image));
}

void releaseImage(cairo_pattern_t*, void*, cairo_surface_t* acquired) noexcept {
  cairo_surface_destroy(acquired);
}

cairo_status_t shareImage(cairo_pattern_t*, void* image, const cairo_pattern_t*) noexcept {
  cairo_surface_reference(static_cast<cairo_surface_t*>(image));
  return CAIRO_STATUS_SUCCESS;
}

void dropImage(cairo_pattern_t*, void* image) noexcept {
  cairo_surface_destroy(static_cast<cairo_surface_t*>(image));
}

/// What draws `image`, which must not change any more. As a plain source a drawing that is recorded, as the
/// toolkit's are, would copy it when it goes, lest it change.
cairo_pattern_t* makePattern(cairo_surface_t* image, picture::PixelSize size) {
  cairo_pattern_t* const pattern = cairo_pattern_create_raster_source(
      cairo_surface_reference(image), CAIRO_CONTENT_COLOR, size.width, size.height);
  cairo_raster_source_pattern_set_acquire(pattern, acquireImage, releaseImage);
  cairo_raster_source_pattern_set_copy(pattern, shareImage);
  cairo_raster_source_pattern_set_finish(pattern, dropImage);
  cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
  return pattern;
}

void appendImage(GtkSnapshot* snapshot, cairo_surface_t* image, picture::PixelSize size,
                 const graphene_rect_t& area) {
  cairo_t* const context = gtk_snapshot_append_cairo(snapshot, &area);
  cairo_translate(context, area.origin.x, area.origin.y);
  cairo_scale(context, area.size.width / size.width, area.size.height / size.height);
  cairo_pattern_t* const pattern = makePattern(image, size);
  cairo_set_source(context, pattern);
  cairo_pattern_destroy(pattern);
  cairo_set_operator(context, CAIRO_OPERATOR_SOURCE);
  cairo_paint(context);
  cairo_destroy(context);
}

}  // namespace

bool isDrawnByGraphicsProcessor() {
  static const bool kHasOne = hasGraphicsProcessor();
  return kHasOne;
}

Texture::Texture(picture::DecodedPicture picture, std::shared_ptr<picture::PixelBufferPool> pool)
    : size_(picture.size) {
  auto lent = std::make_unique<LentPixels>(LentPixels{std::move(pool), std::move(picture.pixels)});
  if (isDrawnByGraphicsProcessor())
    texture_ = GObjectRef<GdkTexture>::adopt(makeTexture(size_, std::move(lent)));
  else
    image_.reset(makeImage(size_, std::move(lent)));
}

void Texture::append(GtkSnapshot* snapshot, const graphene_rect_t& area) const {
  if (image_)
    appendImage(snapshot, image_.get(), size_, area);
  else
    gtk_snapshot_append_texture(snapshot, texture_.get(), &area);
}

PictureTexture::PictureTexture(Worker& decodeThread, std::function<void()> onReady)
    : decodeThread_(decodeThread), onReady_(std::move(onReady)) {}

PictureTexture::~PictureTexture() {
  *self_ = nullptr;
}

void PictureTexture::setFrame(std::shared_ptr<const picture::Frame> frame) {
  frame_ = std::move(frame);
  if (request_.view == picture::PixelSize{}) onReady_();  // drawing will tell the size to decode for
  decodeIfNeeded();
}

void PictureTexture::setDrawable(bool drawable) {
  drawable_ = drawable;
  decodeIfNeeded();
}

const Texture* PictureTexture::draw(picture::PixelSize view, bool mirrored) {
  request_ = {.view = view, .mirrored = mirrored, .mayEnlarge = !isDrawnByGraphicsProcessor()};
  awaitsDrawing_ = false;
  decodeIfNeeded();
  return texture_.get();
}

bool PictureTexture::isUpToDate() const {
  return frame_ == decodedFrame_ && request_ == decodedRequest_;
}

void PictureTexture::decodeIfNeeded() {
  if (!drawable_ || decoding_ || awaitsDrawing_ || !frame_ || request_.view == picture::PixelSize{} ||
      isUpToDate())
    return;
  decoding_ = true;
  decodeThread_.post([self = self_, frame = frame_, request = request_, pool = pool_] {
    auto picture = picture::decodeForView(*frame, request, *pool);
    std::shared_ptr<const Texture> texture;
    if (picture) texture = std::make_shared<Texture>(std::move(*picture), pool);
    postToMainLoop([self, frame, request, texture = std::move(texture)] {
      if (*self) (*self)->delivered(frame, request, texture);
    });
  });
}

void PictureTexture::delivered(std::shared_ptr<const picture::Frame> frame,
                               const picture::PictureRequest& request,
                               std::shared_ptr<const Texture> texture) {
  decoding_ = false;
  decodedFrame_ = std::move(frame);
  decodedRequest_ = request;
  // A damaged frame is left out: the last good one stays.
  if (texture) {
    texture_ = std::move(texture);
    awaitsDrawing_ = true;
  }
  onReady_();
}

}  // namespace platform_linux
