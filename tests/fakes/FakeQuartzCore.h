#pragma once

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "platform/QuartzCore/QuartzCore.h"
#include "tests/fakes/Journal.h"

namespace fakes {

struct FakeImage : platform::CGImage {
  explicit FakeImage(std::string called) : name(std::move(called)) {}
  std::string name;
};

class FakeLayer : public virtual platform::CALayer {
 public:
  FakeLayer(Journal& journal, std::string name) : journal_(journal), name_(std::move(name)) {}
  void setContents(std::shared_ptr<platform::CGImage> contents) override {
    const auto image = std::dynamic_pointer_cast<FakeImage>(contents);
    journal_.add(name_ + " contents " + (image ? image->name : "none"));
  }
  void setContentsGravity(const std::string& gravity) override {
    journal_.add(name_ + " gravity " + gravity);
  }
  void setBackgroundColor(const platform::CGColor& color) override {
    journal_.add(name_ + (color == platform::kBlackColor ? " background black" : " background other"));
  }
  void setFrame(const platform::CGRect& frame) override {
    std::ostringstream line;
    line << name_ << " frame " << frame.x << "," << frame.y << " " << frame.width << "x" << frame.height;
    journal_.add(line.str());
  }
  platform::CGRect bounds() const override { return ownBounds; }
  void addSublayer(std::shared_ptr<platform::CALayer> layer) override {
    journal_.add(name_ + " addSublayer");
    sublayers.push_back(std::move(layer));
  }
  void removeFromSuperlayer() override { journal_.add(name_ + " removeFromSuperlayer"); }

  platform::CGRect ownBounds{0, 0, 640, 480};
  std::vector<std::shared_ptr<platform::CALayer>> sublayers;

 private:
  Journal& journal_;
  std::string name_;
};

class FakeQuartzCore : public platform::QuartzCore {
 public:
  explicit FakeQuartzCore(Journal& journal) : journal_(journal) {}
  std::shared_ptr<platform::CALayer> layer() override {
    return std::make_shared<FakeLayer>(journal_, "overlay");
  }

 private:
  Journal& journal_;
};

}  // namespace fakes
