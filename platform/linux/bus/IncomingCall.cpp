#include "platform/linux/bus/IncomingCall.h"

#include <utility>

namespace platform_linux {

IncomingCall::~IncomingCall() {
  if (invocation_) refuse("the program has ended");
}

// Both ways of answering take over a reference.
void IncomingCall::answer(GVariant* reply) {
  if (std::exchange(answered_, true)) return;
  g_object_ref(invocation_.get());
  g_dbus_method_invocation_return_value(invocation_.get(), reply);
}

void IncomingCall::refuse(const std::string& why, GDBusError error) {
  if (std::exchange(answered_, true)) return;
  g_object_ref(invocation_.get());
  g_dbus_method_invocation_return_error_literal(invocation_.get(), G_DBUS_ERROR, error, why.c_str());
}

}  // namespace platform_linux
