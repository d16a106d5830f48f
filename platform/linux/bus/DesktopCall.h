#pragma once

#include <string>
#include <variant>
#include <vector>

#include "platform/linux/bus/IncomingCall.h"

namespace platform_linux {

/// One call of the desktop to the application, through the D-Bus interface `org.freedesktop.Application`.
/// Main thread only.
class DesktopCall : public IncomingCall {
 public:
  struct Activate {};
  struct Open {
    std::vector<std::string> files;  ///< paths; what is no local file, as the URI that it is
  };
  struct ActivateAction {
    std::string name;
    std::string target;  ///< empty without a text parameter
  };
  using Request = std::variant<Activate, Open, ActivateAction>;

  /// A call that was checked against the interface's description.
  explicit DesktopCall(IncomingCall call);

  [[nodiscard]] const Request& request() const { return request_; }
  /// The activation token, which lets the window that answers this call take the focus; empty without.
  [[nodiscard]] std::string activationToken() const;

 private:
  Request request_;
};

/// `argument` the way the desktop names files, as a path: absolute, from a `file:` URI or relative to the
/// current folder. What is no local file stays as it is.
[[nodiscard]] std::string localPath(const char* argument);

}  // namespace platform_linux
