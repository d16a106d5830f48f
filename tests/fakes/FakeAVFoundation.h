#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/AVFoundation/AVFoundation.h"
#include "tests/fakes/FakeFoundation.h"
#include "tests/fakes/FakeQuartzCore.h"
#include "tests/fakes/Journal.h"

namespace fakes {

struct FakeDevice : platform::AVCaptureDevice {
  FakeDevice(std::string id, std::string title) : id_(std::move(id)), title_(std::move(title)) {}
  std::string uniqueID() const override { return id_; }
  std::string localizedName() const override { return title_; }

 private:
  std::string id_;
  std::string title_;
};

class FakeConnection : public platform::AVCaptureConnection {
 public:
  FakeConnection(Journal& journal, std::string name) : journal_(journal), name_(std::move(name)) {}
  std::vector<platform::AVCaptureInputPort> inputPorts() const override { return ports; }
  bool isVideoMirroringSupported() const override { return mirroringSupported; }
  void setAutomaticallyAdjustsVideoMirroring(bool automatic) override {
    journal_.add(name_ + " automaticMirroring " + (automatic ? "YES" : "NO"));
  }
  bool isVideoMirrored() const override { return mirrored; }
  void setVideoMirrored(bool value) override {
    mirrored = value;
    journal_.add(name_ + " mirrored " + (value ? "YES" : "NO"));
  }

  std::vector<platform::AVCaptureInputPort> ports{{platform::AVMediaTypeVideo}};
  bool mirroringSupported = true;
  /// Set on the main thread, read on the capture service's.
  std::atomic<bool> mirrored = false;

 private:
  Journal& journal_;
  std::string name_;
};

struct FakePhoto : platform::AVCapturePhoto {
  explicit FakePhoto(std::shared_ptr<platform::NSData> bytes) : data(std::move(bytes)) {}
  std::shared_ptr<platform::NSData> fileDataRepresentation() const override { return data; }

  std::shared_ptr<platform::NSData> data;
};

class FakeSession;

/// Keeps each request until the test answers it.
class FakePhotoOutput : public platform::AVCapturePhotoOutput {
 public:
  explicit FakePhotoOutput(Journal& journal) : journal_(journal) {}
  /// Those that the test gave, once it is in a session with an input.
  std::vector<std::shared_ptr<platform::AVCaptureConnection>> connections() const override;
  void joinSession(std::weak_ptr<const FakeSession> session) { session_ = std::move(session); }
  bool isRunning() const;
  /// Of its session's input; empty without one.
  std::string cameraID() const;
  void capturePhotoWithSettings(const platform::AVCapturePhotoSettings& settings,
                                std::shared_ptr<platform::AVCapturePhotoCaptureDelegate> delegate) override;

  int pending() const {
    const std::scoped_lock lock(mutex_);
    return static_cast<int>(delegates_.size());
  }
  void deliver(std::shared_ptr<platform::AVCapturePhoto> photo) { answer(std::move(photo), std::nullopt); }
  void fail(std::int64_t code) { answer(nullptr, platform::NSError{code, "camera error"}); }
  /// Lets go of the requests that nobody will answer any more.
  void forgetRequests();

  std::vector<std::shared_ptr<FakeConnection>> allConnections;

 private:
  void answer(std::shared_ptr<platform::AVCapturePhoto> photo, const std::optional<platform::NSError>& error);

  Journal& journal_;
  std::weak_ptr<const FakeSession> session_;
  mutable std::mutex mutex_;
  std::vector<std::shared_ptr<platform::AVCapturePhotoCaptureDelegate>> delegates_;
};

struct FakeDeviceInput : platform::AVCaptureDeviceInput {
  explicit FakeDeviceInput(std::string id) : cameraID(std::move(id)) {}
  std::string cameraID;
};

class FakeSession : public platform::AVCaptureSession, public std::enable_shared_from_this<FakeSession> {
 public:
  explicit FakeSession(Journal& journal) : journal_(journal) {}
  void setSessionPreset(const std::string& preset) override { journal_.add("session preset " + preset); }
  void addInput(std::shared_ptr<platform::AVCaptureDeviceInput> input) override {
    journal_.add(input ? "session addInput" : "session addInput none");
    hasInput = hasInput || input != nullptr;
    if (const auto known = std::dynamic_pointer_cast<FakeDeviceInput>(input)) cameraID = known->cameraID;
  }
  void addOutput(std::shared_ptr<platform::AVCapturePhotoOutput> output) override {
    journal_.add("session addOutput");
    if (const auto known = std::dynamic_pointer_cast<FakePhotoOutput>(output))
      known->joinSession(weak_from_this());
  }
  void startRunning() override {
    running = true;
    journal_.add("session startRunning");
  }
  void stopRunning() override {
    running = false;
    journal_.add("session stopRunning");
  }

  std::string cameraID;
  bool hasInput = false;
  bool running = false;

 private:
  Journal& journal_;
};

class FakePreviewLayer : public FakeLayer, public platform::AVCaptureVideoPreviewLayer {
 public:
  using FakeLayer::FakeLayer;
  std::shared_ptr<platform::AVCaptureConnection> connection() const override { return previewConnection; }

  std::shared_ptr<FakeConnection> previewConnection;
};

class FakeAVFoundation : public platform::AVFoundation {
 public:
  explicit FakeAVFoundation(Journal& journal) : journal_(journal) {}
  /// The capture service's end: a delegate waits for its outcome no longer, and no longer holds its output.
  ~FakeAVFoundation() override;
  std::vector<std::shared_ptr<platform::AVCaptureDevice>> devicesWithMediaType(
      const std::string& mediaType) override;
  std::shared_ptr<platform::AVCaptureDevice> deviceWithUniqueID(const std::string& uniqueID) override;
  platform::AVAuthorizationStatus authorizationStatusForMediaType(const std::string&) override {
    return authorization;
  }
  void requestAccessForMediaType(const std::string&, std::function<void(bool granted)> completion) override;
  std::shared_ptr<platform::AVCaptureDeviceInput> deviceInputWithDevice(
      const std::shared_ptr<platform::AVCaptureDevice>& device,
      std::optional<platform::NSError>& error) override;
  std::shared_ptr<platform::AVCaptureSession> session() override;
  std::shared_ptr<platform::AVCapturePhotoOutput> photoOutput() override;
  std::shared_ptr<platform::AVCaptureVideoPreviewLayer> previewLayerWithSession(
      const std::shared_ptr<platform::AVCaptureSession>& session) override;

  /// The output of the photo taker made last.
  FakePhotoOutput& output() { return *outputs.back(); }

  std::vector<std::shared_ptr<FakeDevice>> devices;
  /// Identities that the list names but the platform no longer knows.
  std::set<std::string> unknown;
  platform::AVAuthorizationStatus authorization = platform::AVAuthorizationStatus::Authorized;
  std::vector<std::function<void(bool)>> accessRequests;
  /// One of each for every photo taker made, the last one at the end.
  std::vector<std::shared_ptr<FakeSession>> sessions;
  std::vector<std::shared_ptr<FakePhotoOutput>> outputs;
  std::vector<std::shared_ptr<FakePreviewLayer>> layers;
  /// The connections that the next photo output has; by default one of its own.
  std::optional<std::vector<std::shared_ptr<FakeConnection>>> nextConnections;
  bool inputFails = false;
  bool nextLayerIsMissing = false;

 private:
  Journal& journal_;
};

}  // namespace fakes
