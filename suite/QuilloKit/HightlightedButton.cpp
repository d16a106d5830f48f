#include "suite/QuilloKit/HightlightedButton.h"

#include <utility>

namespace suite {

void HightlightedButton::setOriginalImage(std::shared_ptr<platform::NSImage> originalImage,
                                          std::shared_ptr<platform::NSImage> hightlightedImage) {
  button_->setImage(std::move(originalImage));
  button_->setAlternateImage(std::move(hightlightedImage));
}

}  // namespace suite
