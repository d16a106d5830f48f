#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/desktop/virtual-camera/Camera.h"
#include "tests/desktop/virtual-camera/ControlSocket.h"

namespace virtual_camera {

/// What a test may ask of a camera that runs; README.md lists the requests.
class CameraCommands {
 public:
  /// `exit` ends the program after the answer.
  CameraCommands(Camera& camera, std::function<void()> exit);

  /// Answers at once or when the request has taken effect.
  void handle(const std::string& request, Reply reply);

 private:
  struct Waiter {
    std::function<bool()> met;
    Reply reply;
  };

  void offerModes(const std::string& modes, const Reply& reply);
  bool handleFault(const std::string& fault, const std::string& value);
  bool handleWait(const std::string& event, const std::string& value, const Reply& reply);
  /// What a "wait-…" request waits for; empty when there is no such request.
  std::function<bool()> condition(const std::string& event, const std::string& value);
  void answerWaiters();

  Camera& camera_;
  std::function<void()> exit_;
  std::vector<Waiter> waiters_;
};

}  // namespace virtual_camera
