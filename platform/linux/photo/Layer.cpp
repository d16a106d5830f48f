#include "platform/linux/photo/Layer.h"

#include <algorithm>
#include <utility>

namespace platform_linux {

Layer::~Layer() {
  for (auto& layer : sublayers_)
    layer->parent_ = nullptr;
}

void Layer::setContents(std::shared_ptr<platform::CGImage> contents) {
  if (contents_ == contents) return;
  contents_ = std::move(contents);
  changed();
}

void Layer::setContentsGravity(const std::string&) {
  // Every picture is scaled to fit: the only gravity that is asked for.
}

void Layer::setBackgroundColor(const platform::CGColor& color) {
  if (hasBackground_ && background_ == color) return;
  background_ = color;
  hasBackground_ = true;
  changed();
}

void Layer::setFrame(const platform::CGRect& frame) {
  if (frame_ == frame) return;
  frame_ = frame;
  changed();
}

platform::CGRect Layer::bounds() const {
  return {0, 0, frame_.width, frame_.height};
}

void Layer::addSublayer(std::shared_ptr<platform::CALayer> layer) {
  auto child = std::dynamic_pointer_cast<Layer>(std::move(layer));
  if (!child) return;
  child->removeFromSuperlayer();
  child->parent_ = this;
  sublayers_.push_back(std::move(child));
  changed();
}

void Layer::removeFromSuperlayer() {
  Layer* parent = std::exchange(parent_, nullptr);
  if (!parent) return;
  auto& siblings = parent->sublayers_;
  const auto mine =
      std::find_if(siblings.begin(), siblings.end(), [this](auto& l) { return l.get() == this; });
  const std::shared_ptr<Layer> keepAlive = *mine;
  siblings.erase(mine);
  parent->changed();
}

void Layer::changed() {
  for (Layer* layer = this; layer; layer = layer->parent_)
    if (layer->onChange_) layer->onChange_();
}

}  // namespace platform_linux
