#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/linux/base/GLibHandles.h"

namespace platform_linux {

/// One call of the desktop to the application, through the D-Bus interface `org.freedesktop.Application`.
/// Whoever makes the call gets exactly one answer. Main thread only.
class DesktopCall {
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

  /// Takes over the invocation. Nothing when the interface has no such method.
  static std::optional<DesktopCall> make(GDBusMethodInvocation* invocation);

  DesktopCall(DesktopCall&&) noexcept = default;
  DesktopCall& operator=(DesktopCall&&) noexcept = default;
  /// A call that nobody answered is refused.
  ~DesktopCall();

  const Request& request() const { return request_; }
  /// By which the desktop lets the window that answers this call take the focus; empty without.
  std::string activationToken() const;

  const char* method() const;
  GVariant* arguments() const;

  void answer();
  void refuse(const std::string& why);

 private:
  DesktopCall(GObjectHandle<GDBusMethodInvocation> invocation, Request request);

  GObjectHandle<GDBusMethodInvocation> invocation_;
  Request request_;
};

/// `argument` the way the desktop names files, as a path: absolute, from a `file:` URI or relative to the
/// current folder. What is no local file stays as it is.
std::string localPath(const char* argument);

}  // namespace platform_linux
