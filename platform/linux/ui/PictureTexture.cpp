#include "platform/linux/ui/PictureTexture.h"

#include <utility>

#include "platform/linux/ui/MainLoop.h"

namespace platform_linux {
PictureTexture::PictureTexture(DecodeThread& decodeThread, std::function<void()> onReady)
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
