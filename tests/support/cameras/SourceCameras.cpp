#include "tests/support/cameras/SourceCameras.h"

namespace test_support {
namespace {

using namespace platform_linux;

class FirstFrame final : public FrameStream::Client {
 public:
  void frameArrived(const FrameBuffer& picture) override {
    if (!hasCome_) outcome.set(picture.copy(0));
    hasCome_ = true;
  }
  void frameUnusable() override {}
  void streamEnded(int) override {
    if (!hasCome_) outcome.set(nullptr);
    hasCome_ = true;
  }

  Awaited<SourceCameras::Frame> outcome;

 private:
  bool hasCome_ = false;
};

}  // namespace

SourceCameras::SourceCameras(std::shared_ptr<FrameSource> source) : source_(std::move(source)) {
  source_->start(loop_, *this);
}

SourceCameras::~SourceCameras() {
  loop_.end([this] { source_->stop(); });
}

void SourceCameras::camerasChanged(const FrameSource&, CameraCensus census) {
  if (census.state == CameraCensus::State::Complete && !census.cameras.empty())
    cameras_.set(std::move(census.cameras));
}

SourceCameras::Frame SourceCameras::frame(const Camera& camera, const CameraMode& mode) {
  FirstFrame first;
  std::unique_ptr<FrameStream> stream;
  loop_.post([&] { stream = source_->open(camera, mode, first); });
  const auto frame = first.outcome.wait("a frame");
  Awaited<bool> closed;
  loop_.post([&] {
    stream.reset();
    closed.set(true);
  });
  closed.wait("the end of the stream");
  return frame;
}

}  // namespace test_support
