#pragma once

#include <string>

#include "platform/linux/base/Handles.h"

namespace platform_linux {

/// A call that somebody made to one of our objects. Whoever makes it gets exactly one answer, now or later.
/// Main thread only.
class IncomingCall {
 public:
  /// Takes over the invocation.
  explicit IncomingCall(GDBusMethodInvocation* invocation)
      : invocation_(GObjectRef<GDBusMethodInvocation>::adopt(invocation)) {}
  IncomingCall(IncomingCall&&) noexcept = default;
  /// A call that nobody answered is refused.
  ~IncomingCall();

  [[nodiscard]] const char* method() const {
    return g_dbus_method_invocation_get_method_name(invocation_.get());
  }
  /// A tuple of the types that the interface's description names.
  [[nodiscard]] GVariant* arguments() const {
    return g_dbus_method_invocation_get_parameters(invocation_.get());
  }

  // An answer that follows another is dropped.
  /// `reply`: a floating tuple, or null for a method without results.
  void answer(GVariant* reply = nullptr);
  void refuse(const std::string& why, GDBusError error = G_DBUS_ERROR_FAILED);

 private:
  /// Our own reference, so that method and arguments can be read after the answer.
  GObjectRef<GDBusMethodInvocation> invocation_;
  bool answered_ = false;
};

}  // namespace platform_linux
