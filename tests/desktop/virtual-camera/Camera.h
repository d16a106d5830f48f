#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <pipewire/pipewire.h>

#include "tests/desktop/virtual-camera/CameraSpec.h"
#include "tests/desktop/virtual-camera/CameraStream.h"
#include "tests/desktop/virtual-camera/Connection.h"
#include "tests/desktop/virtual-camera/DeviceObject.h"
#include "tests/desktop/virtual-camera/FrameRecorder.h"
#include "tests/desktop/virtual-camera/FrameStore.h"

namespace virtual_camera {

/// A camera that can be plugged and unplugged, with its frames and its faults. Bound to the loop's thread.
class Camera {
 public:
  /// Given the outcome of an operation once it has taken effect: an empty text, or what went wrong.
  using Done = std::function<void(const std::string& error)>;

  enum class State {
    kUnplugged,
    kIdle,       ///< in the registry, not in use
    kStreaming,  ///< delivering (or stalled)
    kFailed,     ///< the device broke; stays until plugged again
    kLost,       ///< the PipeWire daemon went away under a plugged camera
  };

  /// Not plugged yet. Throws std::runtime_error for pictures, logs or folders that cannot be used.
  Camera(pw_loop* loop, CameraSpec spec);
  Camera(const Camera&) = delete;
  Camera& operator=(const Camera&) = delete;

  /// Enters the registry, after leaving it where needed. Done when every client of the daemon can see the
  /// node; where the node comes later, when they can see its device.
  void plug(const Done& done);
  /// Done when the node is gone for every client of the daemon.
  void unplug(Done done);
  void stall() { stalled_ = true; }
  /// Ends a stall, also one that the description's fault began.
  void resume();
  /// Breaks the device: the node's stream fails with EIO.
  void breakDevice();
  /// Has the daemon suspend the node, as when the system sleeps: its users lose format and buffers.
  void suspend();

  /// Offers these modes instead. Nothing is delivered any more in a mode that is not among them.
  void offer(std::vector<Mode> modes);

  /// The faults that may be changed while the camera lives.
  Faults& faults() { return faults_; }

  State state() const { return state_; }
  /// Frames delivered in the run of the stream under way, or in the last one.
  std::uint64_t runFrames() const { return runFrames_; }
  /// Whether a frame has been held back by a stall in this run.
  bool withheld() const { return withheld_; }
  /// "key=value" words for a test to read.
  std::string describe() const;

  /// Calls `action` at every change of what the functions above tell.
  void whenChanged(std::function<void()> action) { changed_ = std::move(action); }

 private:
  struct SourceDeleter {
    pw_loop* loop;
    void operator()(spa_source* source) const { pw_loop_destroy_source(loop, source); }
  };
  using Source = std::unique_ptr<spa_source, SourceDeleter>;

  static void onTick(void* data, std::uint64_t expirations) noexcept;
  static void onNodeTime(void* data, std::uint64_t expirations) noexcept;
  static void onRelease(void* data, std::uint64_t expirations) noexcept;
  static void onLost(void* data, std::uint64_t count) noexcept;

  void connect();
  void enterNodeInTime();
  void enterNode();
  void leaveRegistry();
  void completePlug();
  void finishPlug();
  void failPlug(const std::string& error);
  void completeUnplug(int sequence);
  void loseDaemon();
  void refuseWhileBusy();
  bool tellsThatItIsBusy();
  void awaitRelease();
  void release();
  FrameLayout chooseFormat(const NegotiatedFormat& format);
  bool isOffered(const NegotiatedFormat& format) const;
  void streamStateChanged(pw_stream_state state);
  void startRun();
  void endRun();
  void setTimer(const Source& timer, std::uint64_t firstNanoseconds, std::uint64_t intervalNanoseconds);
  void tick(std::uint64_t expirations);
  /// Whether the frame that is due is withheld by a fault.
  [[nodiscard]] bool isSilent() const;
  std::uint8_t light() const;
  FrameResult fill(std::span<std::uint8_t> room);
  void change(State state);

  pw_loop* loop_;
  CameraSpec spec_;
  Faults faults_;
  FrameStore store_;
  FrameRecorder recorder_;
  std::function<void()> changed_ = [] {};
  Source timer_;
  Source nodeTimer_;
  Source releaseTimer_;
  Source lostEvent_;

  std::unique_ptr<Connection> connection_;
  std::unique_ptr<DeviceObject> device_;
  std::optional<std::uint32_t> deviceId_;
  std::unique_ptr<CameraStream> stream_;
  std::vector<Done> plugging_;
  std::map<int, Done> unplugging_;

  State state_ = State::kUnplugged;
  PreparedFrames* frames_ = nullptr;
  std::optional<NegotiatedFormat> format_;
  bool stalled_ = false;
  bool withheld_ = false;
  std::uint64_t sequence_ = 0;
  std::uint64_t runs_ = 0;
  std::uint64_t runFrames_ = 0;  ///< delivered
  std::uint64_t runTime_ = 0;    ///< in frame intervals, those of lost frames included
  std::uint64_t totalFrames_ = 0;
};

}  // namespace virtual_camera
