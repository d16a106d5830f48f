#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/linux/camera/Camera.h"
#include "platform/linux/camera/CameraAccess.h"
#include "platform/linux/camera/CameraLoop.h"
#include "platform/linux/camera/FrameBuffer.h"

namespace platform_linux {

/// The frames of one camera in one mode, from when it is made. Destroyed, it gives the camera back. On the
/// cameras' thread only.
class FrameStream {
 public:
  /// Told what the stream delivers, on the cameras' thread, which it must not hold; never inside the call
  /// that opens the stream. The stream must not be destroyed inside these calls.
  class Client {
   public:
    virtual ~Client() = default;

    /// A picture has arrived; it stays valid during the call, its buffer goes back after it. Pictures that
    /// are empty or marked as corrupted, and uncompressed ones that are cut short, are left out.
    virtual void frameArrived(const FrameBuffer& picture) = 0;
    /// One of those that are left out has.
    virtual void frameUnusable() = 0;
    /// Nothing comes any more, because of `error`, an `errno`: ENODEV when the camera was unplugged, EBUSY
    /// when another program has it, EACCES when it may not be opened, EPIPE when the service that brings the
    /// frames has gone, ESTALE when it sends other pictures than those that were asked for, as its signal has
    /// changed, EAGAIN when another stream of the same camera would bring what this one cannot. Once at most,
    /// nothing after it.
    virtual void streamEnded(int error) = 0;
  };

  virtual ~FrameStream() = default;
};

/// What a source knows of cameras.
struct CameraCensus {
  enum class State {
    Gathering,     ///< more are about to be told of: a choice among these would be made too early
    Complete,      ///< these are all, until some come or go
    NobodyServes,  ///< there is nobody who would tell of cameras (no daemon): another source may
  };

  State state = State::Gathering;
  std::vector<Camera> cameras;  ///< those that can be used
  std::vector<std::string> notes =
      {};  ///< on those that cannot, and why: lines for the log, each written once
  std::set<std::string> unread =
      {};  ///< the places of devices that are there, and of which the source cannot tell what they offer
};

/// One way to the cameras of the machine. A second way is a folder of its own, and a line in the composition.
///
/// `start` and `access` are called on the main thread, all else on the loop's.
class FrameSource {
 public:
  class Client {
   public:
    virtual ~Client() = default;
    /// This is known now; told again whenever it changes. On the loop's thread. A stream whose camera has
    /// left has ended by itself, or does so soon.
    virtual void camerasChanged(const FrameSource& source, CameraCensus census) = 0;
  };

  virtual ~FrameSource() = default;

  /// Begins to look for cameras and returns at once. Once only. Loop and client stay until `stop` has
  /// returned.
  virtual void start(CameraLoop& loop, Client& client) = 0;
  /// The end: everything that belongs to the loop's thread is destroyed, nobody is told anything more.
  /// Streams were destroyed before.
  virtual void stop() = 0;

  /// Asks for the frames of a camera of the last census, in exactly that mode; where the camera is shared
  /// with other programs that use it in another one, in theirs. `client` outlives the stream. A failure is
  /// told to it, too.
  [[nodiscard]] virtual std::unique_ptr<FrameStream> open(const Camera& camera, const CameraMode& mode,
                                                          FrameStream::Client& client) = 0;

  /// Whether the user may use the source's cameras.
  [[nodiscard]] virtual CameraAccess& access() = 0;
};

}  // namespace platform_linux
