#include "platform/linux/camera/v4l2/DeviceStream.h"

#include <cerrno>
#include <tuple>
#include <utility>

#include "platform/linux/camera/v4l2/DeviceModes.h"
#include "platform/linux/camera/v4l2/DeviceSignal.h"

namespace platform_linux {
namespace {

/// What is told of an error: whoever unplugs a camera is told so by each driver in its own way.
int reasonOf(DeviceFile* device, int error) {
  switch (error) {
    case ENOENT:
    case ENXIO:
      return ENODEV;
    case EPERM:
      return EACCES;
    case EIO:
    case EINVAL:
    case EPIPE: {
      DeviceAbilities abilities;
      return device && readAbilities(*device, abilities) == ENODEV ? ENODEV : error;
    }
    default:
      return error;
  }
}

}  // namespace

DeviceStream::DeviceStream(All& all, DeviceCalls& calls, CameraLoop& loop, std::string path,
                           const CameraMode& mode, Client& client, std::function<void()> signalChanged)
    : all_(all),
      loop_(loop),
      path_(std::move(path)),
      client_(client),
      signalChanged_(std::move(signalChanged)) {
  all_.insert(this);
  if (const int error = begin(calls, mode)) {
    // Not here, in the call that opens the stream.
    loop.post([this, error, alive = std::weak_ptr(isAlive_)] {
      if (alive.lock()) end(error);
    });
    return;
  }
  watch();
}

void DeviceStream::watch() {
  watch_.reset();
  watch_ = loop_.watch(device_->descriptor(), [this] { takePictures(); });
}

int DeviceStream::begin(DeviceCalls& calls, const CameraMode& mode) {
  int error = 0;
  std::tie(device_, error) = calls.open(path_);
  if (!device_) return error;
  DeviceAbilities abilities;
  if ((error = readAbilities(*device_, abilities)) != 0) return error;
  isFollowingSignal_ = followSignal(*device_);
  adoptSignal(*device_);
  if ((error = setFormat(*device_, captureType(abilities.isMultiPlanar), mode, format_)) != 0) return error;
  buffers_.emplace(*device_, format_);
  return buffers_->start();
}

void DeviceStream::takePictures() {
  if (isFollowingSignal_ && takeSignalChange(*device_)) {
    signalChanged_();
    return end(ESTALE);
  }
  // All that are there, so that of a backlog none is left to be taken for new; not for ever, though, of a
  // device that is faster than we are.
  for (std::size_t i = 0; i < buffers_->count(); ++i) {
    DeviceBuffers::Picture picture;
    if (const int error = buffers_->take(picture)) {
      if (error == EAGAIN) break;
      return end(error);
    }
    show(picture);
    if (const int error = buffers_->giveBack(picture.index)) return end(error);
  }
  // v4l2loopback (0.12) wakes only who began to wait while there was no picture (`v4l2_loopback_poll`).
  watch();
}

void DeviceStream::show(const DeviceBuffers::Picture& picture) {
  const auto frame =
      picture.isUsable ? FrameBuffer::pictureIn(picture.blocks(), format_.frame) : std::nullopt;
  if (frame)
    client_.frameArrived(*frame);
  else
    client_.frameUnusable();
}

void DeviceStream::end(int error) {
  if (std::exchange(hasEnded_, true)) return;
  const int reason = reasonOf(device_.get(), error);
  // Given back at once: a device that failed, or that another program wants to have, is not held.
  watch_.reset();
  buffers_.reset();
  device_.reset();
  client_.streamEnded(reason);
}

}  // namespace platform_linux
